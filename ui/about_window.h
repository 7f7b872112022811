/// \file about_window.h
#pragma once

#include "desktop/preferences.h"
#include "ui/about_view.h"
#include "ui/side_window.h"

#include <QScrollArea>

namespace ovrel {

/// The window about the program. It has the size of what it shows, in each language, and scrolls where the screen is
/// smaller than that. Main thread.
class AboutWindow final : public SideWindow {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(AboutWindow)

public:
    /// \param preferences outlive the window
    explicit AboutWindow(const Preferences& preferences);
    ~AboutWindow() override = default;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fit();

    QScrollArea* scroll_;
    AboutView* view_;
};

} // namespace ovrel
