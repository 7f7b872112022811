// Preloaded into a program (LD_PRELOAD), this library stands between it and the C library, counts the calls that a
// conversion can fail by, and lets chosen ones fail (see fault.h).
//
// The dynamic loader and the start of the libraries open files and take memory as well, which is not what a conversion
// is about and differs from system to system. So counting begins when the program opens the first file below the folder
// of its sources or makes a folder, whichever a conversion begins with, and ends when it writes its first line of
// results.
// Threads are counted from the beginning: the program starts those that convert before any of them opens a source.
//
// What the C library calls within itself does not come by here. fopen() and fclose() therefore count as calls of their
// own, and what is read and written through a FILE in between is not seen.

#include "tests/faults/fault.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <csignal>

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

extern "C" {
// The C library's own names for what it offers as malloc() and so on.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

using namespace ovrel::test;

/// What the environment asks for. Nothing in here takes memory or has a constructor to wait for.
struct Plan {
    const char* folder = nullptr;
    FaultCounts* counts = nullptr;
    int failing = -1;
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    int error = 0;
};

constinit Plan plan;
constinit std::atomic<bool> counting{false};
constinit std::atomic<bool> done{false};

void say(const char* text) {
    ::syscall(SYS_write, STDERR_FILENO, text, std::strlen(text));
}

/// Says in which functions the program was when it crashed, the innermost first, as "library:function" (nothing behind
/// the colon for one that the library keeps to itself), and lets it crash.
void tellOfCrash(int signal) {
    done.store(true); // nothing more fails
    std::array<void*, 64> frames{};
    const int count = ::backtrace(frames.data(), static_cast<int>(frames.size()));
    say("crashed in");
    for (int i = 0; i < count; ++i) {
        Dl_info place{};
        if (::dladdr(frames[static_cast<std::size_t>(i)], &place) == 0 || place.dli_fname == nullptr) {
            continue;
        }
        const char* const slash = std::strrchr(place.dli_fname, '/');
        say(" ");
        say(slash != nullptr ? slash + 1 : place.dli_fname);
        say(":");
        say(place.dli_sname != nullptr ? place.dli_sname : "");
    }
    say("\n");
    std::signal(signal, SIG_DFL);
    ::raise(signal);
}

/// Runs when the library is loaded, before the program's main().
__attribute__((constructor)) void readEnvironment() {
    std::array<void*, 1> frame{};
    ::backtrace(frame.data(), 1); // the first time it loads a library, for which a crash leaves no room
    for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
        std::signal(signal, tellOfCrash);
    }
    if (const char* const seconds = std::getenv(faultDeadlineVariable)) {
        ::alarm(static_cast<unsigned>(std::strtoul(seconds, nullptr, 10)));
    }
    if (const char* const fault = std::getenv(faultVariable)) {
        char* rest = nullptr;
        plan.failing = static_cast<int>(std::strtol(fault, &rest, 10));
        plan.first = static_cast<std::uint32_t>(std::strtoul(rest, &rest, 10));
        plan.error = static_cast<int>(std::strtol(rest, &rest, 10));
        plan.last = plan.first + static_cast<std::uint32_t>(std::strtoul(rest, &rest, 10)) - 1;
    }
    plan.folder = std::getenv(faultFolderVariable);
    if (const char* const counts = std::getenv(faultCountsVariable)) {
        const long file = ::syscall(SYS_openat, AT_FDCWD, counts, O_RDWR | O_CLOEXEC);
        void* const mapped =
            ::mmap(nullptr, sizeof(FaultCounts), PROT_READ | PROT_WRITE, MAP_SHARED, static_cast<int>(file), 0);
        ::syscall(SYS_close, file);
        plan.counts = mapped == MAP_FAILED ? nullptr : static_cast<FaultCounts*>(mapped);
    }
}

/// Counts a call. \return the errno by which it has to fail, 0 for none
int faultOf(FaultClass kind) {
    const bool counts = kind == FaultClass::thread || (counting.load() && !done.load());
    if (plan.counts == nullptr || !counts) {
        return 0;
    }
    const auto index = static_cast<std::size_t>(kind);
    const std::uint32_t number = ++(*plan.counts)[index];
    const bool fails = static_cast<int>(index) == plan.failing && number >= plan.first && number <= plan.last;
    return fails ? plan.error : 0;
}

bool fails(FaultClass kind) {
    const int error = faultOf(kind);
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

bool failsToOpen(const char* path) {
    if (!counting.load() && plan.folder != nullptr && std::strncmp(path, plan.folder, std::strlen(plan.folder)) == 0) {
        counting.store(true);
    }
    return fails(FaultClass::open);
}

/// Takes part in a transfer of `size` bytes: fails it, or shortens it.
/// \return whether it fails
bool failsToTransfer(FaultClass kind, std::size_t& size) {
    const int error = faultOf(kind);
    if (error == shortCall) {
        size = size > 1 ? size - 1 : size;
        return false;
    }
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

bool isStandardStream(int file) {
    return file <= STDERR_FILENO;
}

mode_t modeOf(int flags, std::va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

int openFile(int folder, const char* path, int flags, mode_t mode) {
    return failsToOpen(path) ? -1 : static_cast<int>(::syscall(SYS_openat, folder, path, flags, mode));
}

/// The C library's function that this one stands in front of.
template <typename Function>
Function* original(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openFile(AT_FDCWD, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openFile(AT_FDCWD, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openFile(folder, path, flags, mode);
}

int openat64(int folder, const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openFile(folder, path, flags, mode);
}

int creat(const char* path, mode_t mode) {
    return openFile(AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

std::FILE* fopen(const char* path, const char* mode) {
    static auto* const real = original<std::FILE*(const char*, const char*)>("fopen");
    return failsToOpen(path) ? nullptr : real(path, mode);
}

std::FILE* fopen64(const char* path, const char* mode) {
    static auto* const real = original<std::FILE*(const char*, const char*)>("fopen64");
    return failsToOpen(path) ? nullptr : real(path, mode);
}

int fclose(std::FILE* file) {
    static auto* const real = original<int(std::FILE*)>("fclose");
    const bool failed = fails(FaultClass::close);
    const int error = errno;
    const int result = real(file);
    errno = failed ? error : errno;
    return failed ? EOF : result;
}

ssize_t read(int file, void* into, std::size_t size) {
    return failsToTransfer(FaultClass::read, size) ? -1 : ::syscall(SYS_read, file, into, size);
}

ssize_t pread(int file, void* into, std::size_t size, off_t offset) {
    return failsToTransfer(FaultClass::read, size) ? -1 : ::syscall(SYS_pread64, file, into, size, offset);
}

ssize_t pread64(int file, void* into, std::size_t size, off64_t offset) {
    return failsToTransfer(FaultClass::read, size) ? -1 : ::syscall(SYS_pread64, file, into, size, offset);
}

ssize_t write(int file, const void* from, std::size_t size) {
    if (isStandardStream(file)) {
        done.store(true);
    }
    return failsToTransfer(FaultClass::write, size) ? -1 : ::syscall(SYS_write, file, from, size);
}

ssize_t pwrite(int file, const void* from, std::size_t size, off_t offset) {
    return failsToTransfer(FaultClass::write, size) ? -1 : ::syscall(SYS_pwrite64, file, from, size, offset);
}

ssize_t pwrite64(int file, const void* from, std::size_t size, off64_t offset) {
    return failsToTransfer(FaultClass::write, size) ? -1 : ::syscall(SYS_pwrite64, file, from, size, offset);
}

ssize_t writev(int file, const iovec* parts, int count) {
    std::size_t size = 0;
    return failsToTransfer(FaultClass::write, size) ? -1 : ::syscall(SYS_writev, file, parts, count);
}

ssize_t copy_file_range(int from, off64_t* fromOffset, int to, off64_t* toOffset, std::size_t size, unsigned flags) {
    return failsToTransfer(FaultClass::write, size)
               ? -1
               : ::syscall(SYS_copy_file_range, from, fromOffset, to, toOffset, size, flags);
}

/// The descriptor is gone even when this fails, as in Linux.
int close(int file) {
    const bool failed = fails(FaultClass::close);
    const int error = errno;
    const auto result = static_cast<int>(::syscall(SYS_close, file));
    errno = failed ? error : errno;
    return failed ? -1 : result;
}

int fsync(int file) {
    return fails(FaultClass::flush) ? -1 : static_cast<int>(::syscall(SYS_fsync, file));
}

int fdatasync(int file) {
    return fails(FaultClass::flush) ? -1 : static_cast<int>(::syscall(SYS_fdatasync, file));
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept {
    return fails(FaultClass::rename)
               ? -1
               : static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    return renameat2(fromFolder, from, toFolder, to, 0);
}

int rename(const char* from, const char* to) noexcept {
    return renameat2(AT_FDCWD, from, AT_FDCWD, to, 0);
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept {
    return fails(FaultClass::rename) ? -1
                                     : static_cast<int>(::syscall(SYS_linkat, fromFolder, from, toFolder, to, flags));
}

int link(const char* from, const char* to) noexcept {
    return linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}

int mkdirat(int folder, const char* path, mode_t mode) noexcept {
    counting.store(true);
    return fails(FaultClass::makeFolder) ? -1 : static_cast<int>(::syscall(SYS_mkdirat, folder, path, mode));
}

int mkdir(const char* path, mode_t mode) noexcept {
    return mkdirat(AT_FDCWD, path, mode);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) noexcept {
    static auto* const real =
        original<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
    const int error = faultOf(FaultClass::thread);
    return error != 0 ? error : real(thread, attributes, start, argument);
}

void* malloc(std::size_t size) noexcept {
    return fails(FaultClass::memory) ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    return fails(FaultClass::memory) ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) noexcept {
    return fails(FaultClass::memory) ? nullptr : __libc_realloc(memory, size);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return fails(FaultClass::memory) ? nullptr : __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return fails(FaultClass::memory) ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
    if (fails(FaultClass::memory)) {
        return errno; // which the C library's own leaves like this, too
    }
    void* const taken = __libc_memalign(alignment, size);
    if (taken != nullptr) {
        *memory = taken;
    }
    return taken != nullptr ? 0 : ENOMEM;
}

} // extern "C"
