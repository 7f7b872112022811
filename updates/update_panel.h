/// \file update_panel.h
/// The small window in which updates are shown, as far as the manager knows it.
#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace ovrel {

class UpdateManager;

/// A window that draws what its manager publishes: 510 points wide, as high as its content, and centred on the screen
/// at first, with a title but without anything to close, minimise or resize it, so that the user leaves it through its
/// actions alone. It keeps no program from its end.
/// Main thread. Not visible when it is made; hidden, it stays as it is.
class UpdatePanel {
public:
    virtual ~UpdatePanel() = default;

    virtual void setTitle(const QString& title) = 0;
    /// Shows the window in front of the others and lets it have the keyboard. Again without harm.
    virtual void makeKeyAndOrderFront() = 0;
    /// Hides the window. Again without harm.
    virtual void orderOut() = 0;
};

/// Makes the panel of a manager, which owns it and outlives it. Not null.
using UpdatePanelFactory = std::function<std::unique_ptr<UpdatePanel>(UpdateManager& manager)>;

} // namespace ovrel
