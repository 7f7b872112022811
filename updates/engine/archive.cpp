#include "updates/engine/archive.h"

#include "updates/engine/archive_reader.h"
#include "updates/engine/tree_writer.h"
#include "updates/framework/update_error.h"

#include <algorithm>

namespace ovrel {

namespace {

void throwIfStopped(const std::stop_token& stop) {
    if (stop.stop_requested()) {
        throw UpdateError(SUError::installationCanceled, QStringLiteral("Установка обновления отменена."),
                          QStringLiteral("The installation of the update was cancelled."));
    }
}

} // namespace

// libarchive only reads here. Its own writer makes files by their paths, after it has looked whether a folder of the
// path is a link; between the two, somebody could make it one.
UnpackedTree unpack(const VerifiedArchive& archive, int into, const std::function<void(double)>& progress,
                    const std::stop_token& stop, const ArchiveLimits& limits) {
    const std::span<const std::byte> bytes = archive.bytes();
    ArchiveReader reader(bytes, ArchiveReader::Compression::xz);
    EntryPolicy policy(bytes.size(), limits);
    TreeWriter writer(into);
    const auto report = [&] {
        throwIfStopped(stop);
        progress(std::min(1.0, static_cast<double>(reader.usedBytes()) / static_cast<double>(bytes.size())));
    };
    while (const std::optional<ArchiveEntry> entry = reader.next()) {
        report();
        const FileDescriptor file = writer.make(policy.accept(*entry));
        if (!file) {
            continue;
        }
        for (std::span<const std::byte> block = reader.read(); !block.empty(); block = reader.read()) {
            report();
            TreeWriter::write(file.get(), block);
        }
        TreeWriter::finish(file.get());
    }
    const std::string& name = policy.topFolder();
    writer.finish();
    UnpackedTree tree{name, writer.open({name})};
    throwIfStopped(stop);
    progress(1.0);
    return tree;
}

} // namespace ovrel
