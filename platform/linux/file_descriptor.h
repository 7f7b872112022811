/// \file file_descriptor.h
/// Open files of the system, and its calls that a signal may interrupt.
#pragma once

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace ovrel {

/// An open descriptor, closed at the end. Movable.
class FileDescriptor {
public:
    FileDescriptor() = default;
    /// \param descriptor negative for none
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    ~FileDescriptor() { close(); }
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        const FileDescriptor before(std::exchange(descriptor_, other.release()));
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    explicit operator bool() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }
    int release() { return std::exchange(descriptor_, -1); }

    /// \return 0, or -1 and errno, as the system's call; the descriptor is gone in both cases
    int close() { return descriptor_ < 0 ? 0 : ::close(release()); }

private:
    int descriptor_ = -1;
};

/// Repeats a system call that fails by -1 and errno for as long as signals interrupt it.
template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

} // namespace ovrel
