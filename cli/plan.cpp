#include "cli/plan.h"

#include "conversion/conversion_error.h"
#include "conversion/publish.h"
#include "conversion/scan.h"
#include "platform/file_error.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string>
#include <unordered_map>
#include <utility>

namespace ovrel::cli {

namespace {

namespace fs = std::filesystem;

/// Disjoint sets of steps, each named by its earliest.
class Groups {
public:
    explicit Groups(std::size_t count) : parents_(count) {
        std::iota(parents_.begin(), parents_.end(), std::size_t{0});
    }

    std::size_t of(std::size_t index) {
        while (parents_[index] != index) {
            parents_[index] = parents_[parents_[index]];
            index = parents_[index];
        }
        return index;
    }

    void join(std::size_t one, std::size_t other) {
        const auto [earlier, later] = std::minmax({of(one), of(other)});
        parents_[later] = earlier;
    }

private:
    std::vector<std::size_t> parents_;
};

/// Names what the user has to look at: a folder deep inside may be what kept a given one from being searched.
UnreadablePath unreadable(const fs::path& given, const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const FileError& failure) {
        return {failure.file().empty() ? given : failure.file(), error};
    } catch (...) {
        return {given, error};
    }
}

} // namespace

Findings find(std::span<const fs::path> paths, const ScanFunction& scan) {
    Findings findings;
    try {
        findings.items = scan(paths);
        return findings;
    } catch (const ConversionError&) {
    } catch (const FileError&) {
    }
    // A scan gives all or nothing, so each path is searched alone. What that finds is kept: a folder that was
    // searched once may fail the next time.
    std::vector<std::vector<InputItem>> found;
    for (const fs::path& path : paths) {
        try {
            found.push_back(scan(std::span(&path, 1)));
        } catch (const ConversionError&) {
            findings.unreadable.push_back(unreadable(path, std::current_exception()));
        } catch (const FileError&) {
            findings.unreadable.push_back(unreadable(path, std::current_exception()));
        }
    }
    findings.items = merged(std::move(found));
    return findings;
}

std::vector<Step> makePlan(Findings findings, const fs::path& output, bool skipExisting,
                           const std::function<bool(const fs::path&)>& exists) {
    std::vector<Step> steps;
    steps.reserve(findings.unreadable.size() + findings.items.size());
    for (UnreadablePath& unreadable : findings.unreadable) {
        steps.push_back({.item = {.url = std::move(unreadable.path), .relativeDirectory = {}},
                         .action = Step::Action::fail,
                         .result = {},
                         .error = std::move(unreadable.error)});
    }
    for (InputItem& item : findings.items) {
        const Step::Action action = item.isAVIF() ? Step::Action::copy : Step::Action::convert;
        steps.push_back({.item = std::move(item), .action = action, .result = {}, .error = {}});
    }

    Groups groups(steps.size());
    std::unordered_map<std::string, std::size_t> takers;
    // By the first name, the last number that was given: all before it are taken, so nobody needs to try them again.
    std::unordered_map<std::string, std::uint64_t> lastNumbers;
    for (std::size_t index = findings.unreadable.size(); index < steps.size(); ++index) {
        Step& step = steps[index];
        const fs::path folder = resultFolder(step.item, output);
        std::uint64_t& lastNumber =
            lastNumbers.try_emplace((folder / resultName(step.item, 1)).native(), 1).first->second;
        for (std::uint64_t number = lastNumber; step.result.empty(); ++number) {
            fs::path candidate = folder / resultName(step.item, number);
            const auto taker = takers.find(candidate.native());
            if (taker != takers.end()) {
                groups.join(taker->second, index);
            } else if (!exists(candidate)) {
                takers.emplace(candidate.native(), index);
                lastNumber = number;
                step.result = std::move(candidate);
            } else if (number == 1 && skipExisting) {
                step.action = Step::Action::skip;
                step.result = std::move(candidate);
            }
        }
    }

    std::unordered_map<std::size_t, std::size_t> lastOfGroup;
    for (std::size_t index = 0; index < steps.size(); ++index) {
        const auto [last, isFirst] = lastOfGroup.try_emplace(groups.of(index), index);
        if (!isFirst) {
            steps[last->second].follower = index;
            steps[index].follows = true;
            last->second = index;
        }
    }
    return steps;
}

} // namespace ovrel::cli
