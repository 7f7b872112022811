/// \file main_window.h
/// The main window.
#pragma once

#include "ui/content_view.h"

#include <QMainWindow>

#include <functional>

namespace ovrel {

/// Main thread.
class MainWindow final : public QMainWindow {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainWindow)

public:
    /// Gives the content what it needs; the window, which may be used as a parent, outlives it.
    using MakeServices = std::function<ContentView::Services(QWidget& window)>;

    explicit MainWindow(const MakeServices& makeServices);
    ~MainWindow() override = default;

    ContentView& content() { return *content_; }

Q_SIGNALS:
    /// The window closes, now or when the image in hand is done, and takes no more files.
    void closing();
    /// The window is gone, and with it the program.
    void closed();
    /// The user does not wait for what is being gathered or converted: the program ends when the slots have returned.
    void leaving();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    ContentView* content_;        ///< a child
    bool closesAfterRun_ = false; ///< the user asked for it during a run
};

} // namespace ovrel
