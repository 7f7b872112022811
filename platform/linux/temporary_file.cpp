#include "platform/temporary_file.h"

#include <condition_variable>
#include <mutex>
#include <set>
#include <string>

#include <sys/resource.h>
#include <unistd.h>
#include <uuid/uuid.h>

namespace ovrel {

namespace {

/// Paths of all holders.
struct Registry {
    std::mutex mutex;
    std::condition_variable never; ///< never notified
    std::set<std::filesystem::path> paths;
    bool leaving = false;
};

/// Outlives the threads that still run when the program leaves, so it is never destroyed.
Registry& registry() {
    static Registry& only = *new Registry;
    return only;
}

std::string newName() {
    uuid_t uuid;
    uuid_generate_random(uuid);
    char text[UUID_STR_LEN];
    uuid_unparse_upper(uuid, text);
    return std::string(".avif-") + text + ".tmp";
}

} // namespace

TemporaryFile::TemporaryFile(const std::filesystem::path& folder) : path_(folder / newName()) {
    Registry& all = registry();
    std::unique_lock lock(all.mutex);
    all.never.wait(lock, [&] { return !all.leaving; });
    all.paths.insert(path_);
}

TemporaryFile::~TemporaryFile() {
    static_cast<void>(::unlink(path_.c_str()));
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    all.paths.erase(path_);
}

void removeTemporaryFiles() {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    all.leaving = true;
    // An encoder creates its file only when it has finished, so a removed or still missing file could appear behind
    // our back. Without descriptors nothing can be created any more.
    rlimit descriptors{};
    if (::getrlimit(RLIMIT_NOFILE, &descriptors) == 0) {
        descriptors.rlim_cur = 0;
        static_cast<void>(::setrlimit(RLIMIT_NOFILE, &descriptors));
    }
    for (const std::filesystem::path& path : all.paths) {
        static_cast<void>(::unlink(path.c_str()));
    }
}

} // namespace ovrel
