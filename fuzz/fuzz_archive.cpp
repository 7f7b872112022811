#include "fuzz/require.h"
#include "updates/engine/archive_reader.h"
#include "updates/engine/entry_policy.h"
#include "updates/framework/update_error.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace ovrel;
using fuzz::require;

bool isComponent(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

/// Follows a link's target step by step; it may never stand above the top folder.
void requireInside(const AcceptedEntry& link) {
    require(!link.linkTarget.empty() && link.linkTarget.front() != '/');
    std::size_t depth = link.folders.size();
    for (std::size_t start = 0; start < link.linkTarget.size();) {
        const std::size_t end = std::min(link.linkTarget.find('/', start), link.linkTarget.size());
        const std::string step = link.linkTarget.substr(start, end - start);
        depth = step == ".." ? depth - 1 : depth + 1;
        require(depth >= 1);
        start = end + 1;
    }
}

/// What the archive makes, if it is taken: each entry once, in folders that are there.
class Tree {
public:
    void add(const AcceptedEntry& entry) {
        require(entry.kind != EntryKind::other && isComponent(entry.name));
        require(entry.folders.empty() ? entry.kind == EntryKind::directory && folders_.empty()
                                      : folders_.count(entry.folders) == 1);
        std::vector<std::string> path = entry.folders;
        path.push_back(entry.name);
        require(all_.insert(path).second);
        if (entry.kind == EntryKind::directory) {
            folders_.insert(path);
        } else if (entry.kind == EntryKind::symbolicLink) {
            requireInside(entry);
        }
    }

private:
    std::set<std::vector<std::string>> all_;
    std::set<std::vector<std::string>> folders_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    try {
        ArchiveReader reader({reinterpret_cast<const std::byte*>(bytes), count}, ArchiveReader::Compression::none);
        EntryPolicy policy(count);
        Tree tree;
        while (const std::optional<ArchiveEntry> entry = reader.next()) {
            const AcceptedEntry accepted = policy.accept(*entry);
            tree.add(accepted);
            std::uint64_t read = 0;
            while (const std::size_t part = reader.read().size()) {
                read += part;
                require(read <= accepted.sizeBytes);
            }
            require(read == accepted.sizeBytes);
        }
        require(isComponent(policy.topFolder()));
    } catch (const UpdateError& error) {
        require(error.is(SUError::unarchiving) || error.is(SUError::validation));
    }
    return 0;
}
