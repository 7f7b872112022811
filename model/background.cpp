#include "model/background.h"

#include <QCoreApplication>

namespace ovrel {

namespace {

class BackgroundThreads : public QThreadPool {
public:
    BackgroundThreads() {
        setMaxThreadCount(mostThreads);
        qAddPostRoutine([] { backgroundThreads().waitForDone(); });
    }

private:
    /// One for each kind of work, none of which waits for another: the scan or a conversion, a banner, the updater, and
    /// what a start of the program writes.
    static constexpr int mostThreads = 4;
};

} // namespace

QThreadPool& backgroundThreads() {
    static BackgroundThreads threads;
    return threads;
}

} // namespace ovrel
