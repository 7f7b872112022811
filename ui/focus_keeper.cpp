#include "ui/focus_keeper.h"

#include <QApplication>

namespace ovrel {

FocusKeeper::FocusKeeper(QWidget& area) : QObject(&area), area_(area) {
    connect(qApp, &QApplication::focusChanged, this, &FocusKeeper::follow);
}

QWidget* FocusKeeper::take() {
    QWidget* const displaced = displaced_;
    displaced_ = nullptr;
    return displaced;
}

void FocusKeeper::follow(QWidget* before) {
    if (before == nullptr || !area_.isAncestorOf(before)) {
        return;
    }
    if (before->isEnabled() && before->isVisible()) {
        displaced_ = nullptr;
    } else if (displaced_ == nullptr) {
        displaced_ = before;
    }
}

} // namespace ovrel
