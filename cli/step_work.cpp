#include "cli/step_work.h"

#include <cstdint>
#include <new>
#include <optional>
#include <utility>

namespace ovrel::cli {

namespace {

std::optional<std::uint64_t> sizeOf(const std::filesystem::path& file, FileSystem& files) {
    try {
        return files.fileSize(file);
    } catch (const FileError&) {
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt; // it is only told, and the step is done all the same
    }
}

/// What stands beforehand: the whole outcome of a step without work.
Outcome beginningOf(const Step& step, FileSystem& files) {
    Outcome outcome;
    outcome.error = step.error;
    if (step.action == Step::Action::fail) {
        return outcome;
    }
    outcome.sourceBytes = sizeOf(step.item.url, files);
    if (step.action == Step::Action::skip) {
        outcome.status = Outcome::Status::skipped;
        outcome.result = step.result;
    }
    return outcome;
}

} // namespace

Outcome carryOut(const Step& step, const ConvertFunction& convert, FileSystem& files, bool preserveTimes,
                 const std::stop_token& stop) {
    Outcome outcome = beginningOf(step, files);
    if (!step.isWork()) {
        return outcome;
    }
    Turn turn{.stop = stop};
    try {
        ConversionResult written = convert(step.item, turn);
        outcome.result = std::move(written.file);
        outcome.multiImage = written.multiImage;
        outcome.resultBytes = sizeOf(outcome.result, files);
        if (preserveTimes) {
            files.copyModificationTime(step.item.url, outcome.result);
        }
        outcome.status = step.action == Step::Action::copy ? Outcome::Status::copied : Outcome::Status::converted;
    } catch (const NotBegun&) {
        throw;
    } catch (...) {
        outcome.error = std::current_exception();
    }
    outcome.waited = turn.waited;
    return outcome;
}

Outcome foretell(const Step& step, FileSystem& files) {
    Outcome outcome = beginningOf(step, files);
    if (step.isWork()) {
        outcome.status = step.action == Step::Action::copy ? Outcome::Status::wouldCopy : Outcome::Status::wouldConvert;
        outcome.result = step.result;
    }
    return outcome;
}

} // namespace ovrel::cli
