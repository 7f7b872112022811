#include "tests/desktop/event_loop.h"

#include <QCoreApplication>
#include <QEventLoop>

namespace ovrel::test {

void awaitThat(const std::function<bool()>& condition) {
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
}

} // namespace ovrel::test
