/// \file owned_descriptor.h
/// A file descriptor with an owner.
#pragma once

#include <utility>

#include <unistd.h>

namespace ovrel {

/// Closes its descriptor at the end. A negative one is none.
class OwnedDescriptor {
public:
    OwnedDescriptor() = default;
    explicit OwnedDescriptor(int descriptor) : descriptor_(descriptor) {}
    OwnedDescriptor(OwnedDescriptor&& other) noexcept : descriptor_(other.release()) {}
    OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    OwnedDescriptor(const OwnedDescriptor&) = delete;
    OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;
    ~OwnedDescriptor() { close(); }

    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }
    int release() { return std::exchange(descriptor_, -1); }
    void close() {
        if (descriptor_ >= 0) {
            static_cast<void>(::close(release()));
        }
    }

private:
    int descriptor_ = -1;
};

} // namespace ovrel
