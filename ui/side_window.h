/// \file side_window.h
/// Windows beside the main one.
#pragma once

#include <QString>
#include <QWidget>

namespace ovrel {

/// A window that Escape and Ctrl+W close and that does not keep the program alive. It is not visible when it is made,
/// and closed it can be opened again. Main thread.
class SideWindow : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SideWindow)

public:
    explicit SideWindow(const QString& title);
    ~SideWindow() override = default;

    /// Shows the window in front of the others; the first time in the middle of the screen on which the user works.
    void open();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool placed_ = false;
};

} // namespace ovrel
