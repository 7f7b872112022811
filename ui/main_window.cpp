#include "ui/main_window.h"

#include "model/leave_at_once.h"

#include <QCloseEvent>

namespace ovrel {

MainWindow::MainWindow(const MakeServices& makeServices) : content_(new ContentView(makeServices(*this), this)) {
    setCentralWidget(content_);
    setWindowTitle(QStringLiteral("Ovrel"));
    setContextMenuPolicy(Qt::NoContextMenu);
    resize(content_->sizeHint());
    connect(&content_->model(), &Model::busyChanged, this, [this] {
        if (closesAfterRun_ && !content_->model().busy()) {
            close();
        }
    });
}

void MainWindow::closeEvent(QCloseEvent* event) {
    switch (content_->model().requestClose()) {
    case Model::Closing::now:
        closesAfterRun_ = false; // the window may be shown again
        event->accept();
        Q_EMIT closing();
        Q_EMIT closed();
        return;
    case Model::Closing::afterRun:
        closesAfterRun_ = true;
        event->ignore();
        Q_EMIT closing();
        return;
    case Model::Closing::atOnce: Q_EMIT leaving(); leaveAtOnce();
    }
}

} // namespace ovrel
