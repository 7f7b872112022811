/// \file update_panel_window.h
/// The small window in which updates are shown.
#pragma once

#include "updates/update_panel.h"

#include <QDialog>

#include <memory>

namespace ovrel {

/// The user leaves it through its buttons alone; when the program is asked to quit, it gets out of the way. As high as
/// what it shows. Main thread.
class UpdatePanelWindow final : public QDialog, public UpdatePanel {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UpdatePanelWindow)

public:
    /// \param manager outlives the window
    /// \param hasEnded when true, the window is not shown any more; not null
    UpdatePanelWindow(UpdateManager& manager, std::shared_ptr<const bool> hasEnded);
    ~UpdatePanelWindow() override = default;

    void setTitle(const QString& title) override { setWindowTitle(title); }
    void makeKeyAndOrderFront() override;
    void orderOut() override { hide(); }

    /// Does nothing: Escape and the desktop's ways to close a window end here.
    void reject() override {}

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::shared_ptr<const bool> hasEnded_;
    bool placed_ = false;
};

/// Makes such windows. From the end of the application's event loop on they show nothing: what breaks off then is no
/// failure to tell anybody. To be called before anything that may break off is begun.
UpdatePanelFactory updatePanelFactory();

} // namespace ovrel
