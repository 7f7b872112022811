#include "updates/update_panel_window.h"

#include "updates/update_view.h"
#include "widgets/placement.h"

#include <QApplication>
#include <QEvent>
#include <QVBoxLayout>

#include <utility>

namespace ovrel {

UpdatePanelWindow::UpdatePanelWindow(UpdateManager& manager, std::shared_ptr<const bool> hasEnded)
    : QDialog(nullptr, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint), hasEnded_(std::move(hasEnded)) {
    setAttribute(Qt::WA_QuitOnClose, false);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(new UpdateView(manager, this));
    qApp->installEventFilter(this);
}

void UpdatePanelWindow::makeKeyAndOrderFront() {
    if (*hasEnded_) {
        return;
    }
    if (!placed_) {
        adjustSize();
        placeInMiddleOfScreen(*this);
        placed_ = true;
    }
    show();
    raise();
    activateWindow();
}

bool UpdatePanelWindow::eventFilter(QObject* watched, QEvent* event) {
    // To quit, the application closes its windows that can be seen, and gives up at the first that refuses.
    if (watched == qApp && event->type() == QEvent::Quit) {
        hide();
    }
    return QDialog::eventFilter(watched, event);
}

UpdatePanelFactory updatePanelFactory() {
    const auto hasEnded = std::make_shared<bool>(false);
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, qApp, [hasEnded] { *hasEnded = true; });
    return [hasEnded](UpdateManager& manager) { return std::make_unique<UpdatePanelWindow>(manager, hasEnded); };
}

} // namespace ovrel
