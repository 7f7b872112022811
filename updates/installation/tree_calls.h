/// \file tree_calls.h
/// The system calls by which an update changes what lies on the disk.
#pragma once

#include <string>

namespace ovrel {

/// Each returns 0 or the errno of its failure. Folders are open directories. A test hands in calls that fail.
class TreeCalls {
public:
    virtual ~TreeCalls() = default;

    /// Two names change what stands under them in one step. EINVAL and ENOSYS where the volume cannot do that.
    virtual int exchange(int firstFolder, const std::string& first, int secondFolder, const std::string& second);

    /// Gives a folder another name that is free; EEXIST when it is not.
    virtual int move(int fromFolder, const std::string& from, int toFolder, const std::string& to);

    /// Gives a file a name, replacing the file that had it.
    virtual int replace(int folder, const std::string& from, const std::string& to);

    /// Creates a file, mode 0600, that does not exist, and writes it through to the disk.
    virtual int create(int folder, const std::string& name, const std::string& content);

    /// Removes a file.
    virtual int remove(int folder, const std::string& name);

    /// Names in a folder reach the disk.
    virtual int sync(int folder);

    /// Everything on a folder's volume reaches the disk.
    virtual int syncVolume(int folder);
};

/// Throws std::system_error unless `error` is 0.
void require(int error, const char* what);

} // namespace ovrel
