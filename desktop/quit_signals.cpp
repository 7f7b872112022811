#include "desktop/quit_signals.h"

#include <QPointer>
#include <QtGlobal>

#include <array>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace ovrel {

namespace {

struct Signal {
    int number;
    struct sigaction former;
    bool isTaken;
};

// A handler knows nothing but what is global.
std::array<Signal, 3> signals{{{SIGINT, {}, false}, {SIGTERM, {}, false}, {SIGHUP, {}, false}}};
std::array<int, 2> ends{-1, -1}; ///< of a pipe, made once and never closed, since a handler may be about to write
bool isInUse = false;

void pass(int /*signal*/) {
    const int error = errno;
    const char one = 1;
    [[maybe_unused]] const ssize_t written = ::write(ends[1], &one, 1); // a full pipe has enough to tell
    errno = error;
}

bool takeOne() {
    char one = 0;
    return ::read(ends[0], &one, 1) == 1;
}

bool openPipe() {
    return ends[0] >= 0 || ::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) == 0;
}

void takeOver(Signal& signal) {
    struct sigaction action {};
    action.sa_handler = pass;
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    signal.isTaken = ::sigaction(signal.number, nullptr, &signal.former) == 0 && signal.former.sa_handler != SIG_IGN &&
                     ::sigaction(signal.number, &action, nullptr) == 0;
}

} // namespace

QuitSignals::QuitSignals(QObject* parent) : QObject(parent) {
    if (std::exchange(isInUse, true)) {
        qFatal("Two objects take the signals that end the program.");
    }
    if (!openPipe()) {
        return;
    }
    while (takeOne()) { // what a former object has left
    }
    notifier_ = std::make_unique<QSocketNotifier>(ends[0], QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, &QuitSignals::take);
    for (Signal& signal : signals) {
        takeOver(signal);
    }
}

QuitSignals::~QuitSignals() {
    for (Signal& signal : signals) {
        if (std::exchange(signal.isTaken, false)) {
            ::sigaction(signal.number, &signal.former, nullptr);
        }
    }
    isInUse = false;
}

void QuitSignals::take() {
    const QPointer<QuitSignals> self(this); // whoever listens may end this
    while (self && takeOne()) {
        Q_EMIT requested();
    }
}

} // namespace ovrel
