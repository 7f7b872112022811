#include "tests/ui/drag.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QUrl>

namespace ovrel::test {

Drag::Drag(QWidget& window, const std::vector<QByteArray>& addresses, Qt::DropActions offered)
    : window_(window), actions_(offered) {
    QList<QUrl> urls;
    for (const QByteArray& address : addresses) {
        urls.append(QUrl::fromEncoded(address));
    }
    if (!urls.isEmpty()) {
        offered_.setUrls(urls);
    }
}

// The application hands these events from a widget to its parents until one takes them, and remembers who did.
bool Drag::moveTo(QPoint where) {
    QWidget* const under = window_.childAt(where);
    where_ = under->mapFrom(&window_, where);
    if (under != target_) {
        leave();
        target_ = under;
        QDragEnterEvent enter(where_, actions_, &offered_, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target_, &enter);
        accepted_ = enter.isAccepted();
        action_ = accepted_ ? enter.dropAction() : Qt::IgnoreAction;
        if (!accepted_) {
            return false;
        }
    }
    QDragMoveEvent move(where_, actions_, &offered_, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target_, &move);
    accepted_ = move.isAccepted();
    action_ = accepted_ ? move.dropAction() : Qt::IgnoreAction;
    return accepted_;
}

void Drag::leave() {
    if (target_ != nullptr) {
        QDragLeaveEvent leaving;
        QApplication::sendEvent(target_, &leaving);
    }
    target_ = nullptr;
    accepted_ = false;
}

// A drop that was not accepted is told as a leave.
bool Drag::drop() {
    if (!accepted_) {
        leave();
        return false;
    }
    QDropEvent event(where_, actions_, &offered_, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target_, &event);
    target_ = nullptr;
    accepted_ = false;
    action_ = event.isAccepted() ? event.dropAction() : Qt::IgnoreAction;
    return event.isAccepted();
}

} // namespace ovrel::test
