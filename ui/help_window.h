/// \file help_window.h
#pragma once

#include "desktop/preferences.h"
#include "ui/side_window.h"

namespace ovrel {

/// The window with the questions and answers, 680 × 720 at first. Main thread.
class HelpWindow final : public SideWindow {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HelpWindow)

public:
    /// \param preferences outlive the window
    explicit HelpWindow(const Preferences& preferences);
    ~HelpWindow() override = default;
};

} // namespace ovrel
