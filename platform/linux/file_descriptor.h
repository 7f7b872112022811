/// \file file_descriptor.h
/// Open files of the system, and its calls that a signal may interrupt.
#pragma once

#include <cerrno>
#include <cstddef>
#include <span>
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

/// Writes all of `bytes` from the current place on.
/// \return false and errno after a failure; a part may be written then
[[nodiscard]] inline bool writeAll(int descriptor, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = uninterrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
        if (count < 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

} // namespace ovrel
