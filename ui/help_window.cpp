#include "ui/help_window.h"

#include "ui/help_view.h"

#include <QVBoxLayout>

namespace ovrel {

HelpWindow::HelpWindow(const Preferences& preferences) : SideWindow(QStringLiteral("Ovrel Help / Справка Ovrel")) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* const view = new HelpView(preferences, this);
    layout->addWidget(view);
    view->setFocus(); // so that the keys scroll at once
    resize(680, 720);
}

} // namespace ovrel
