/// \file memory_watch.h
/// Whether a library failed because memory ran out.
#pragma once

#include <cerrno>
#include <new>

namespace ovrel {

/// For libraries that answer to damage and to missing memory alike: made before a call, asked after it has failed. Both
/// on the thread of the call.
class MemoryWatch {
public:
    MemoryWatch() { errno = 0; }

    /// \throws std::bad_alloc when the system has refused memory since: malloc() says so by ENOMEM (POSIX.1-2017), and
    ///         nothing takes it back
    void check() const {
        if (errno == ENOMEM) {
            throw std::bad_alloc();
        }
    }
};

} // namespace ovrel
