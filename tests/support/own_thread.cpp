#include "tests/support/own_thread.h"

#include <exception>
#include <thread>

namespace ovrel::test {

bool runOnOwnThread(const std::function<bool()>& prepare, const std::function<void()>& body) {
    bool prepared = false;
    std::exception_ptr failure;
    std::thread thread([&] {
        try {
            prepared = prepare();
            if (prepared) {
                body();
            }
        } catch (...) {
            failure = std::current_exception();
        }
    });
    thread.join();
    if (failure) {
        std::rethrow_exception(failure);
    }
    return prepared;
}

} // namespace ovrel::test
