// Linked into the program itself, so that it crashes before it shows its window.

#include <QCoreApplication>

#include <cstdlib>

namespace {

[[noreturn]] void crash() {
    std::abort();
}

Q_COREAPP_STARTUP_FUNCTION(crash)

} // namespace
