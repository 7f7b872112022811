#include "ui/about_window.h"

#include <QEvent>
#include <QScreen>
#include <QScrollBar>
#include <QVBoxLayout>

namespace ovrel {

AboutWindow::AboutWindow(const Preferences& preferences)
    : SideWindow(QStringLiteral("Ovrel")), scroll_(new QScrollArea(this)), view_(new AboutView(preferences)) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scroll_);
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_->setWidgetResizable(true);
    scroll_->setWidget(view_);
    scroll_->setFocus();
    view_->installEventFilter(this);
    fit();
}

bool AboutWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_ && event->type() == QEvent::LayoutRequest)
        fit();
    return SideWindow::eventFilter(watched, event);
}

void AboutWindow::fit() {
    const int wanted = view_->heightForWidth(view_->width());
    const int possible = screen()->availableGeometry().height();
    const bool scrolls = wanted > possible;
    const int scrollBar = scrolls ? scroll_->verticalScrollBar()->sizeHint().width() : 0;
    setFixedSize(view_->width() + scrollBar, scrolls ? possible : wanted);
}

} // namespace ovrel
