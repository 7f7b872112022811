/// \file window_fixture.h
/// A main window over a model of the test's own.
#pragma once

#include "tests/model/model_fixture.h"
#include "tests/remote/held_fetch.h"
#include "ui/main_window.h"

#include <QList>
#include <QUrl>

#include <functional>
#include <memory>

namespace ovrel::test {

/// Scans, conversions and downloads wait for the test, as in the fixtures that it is made of.
class WindowFixture {
public:
    explicit WindowFixture(AppLanguage language = AppLanguage::english);
    ~WindowFixture();
    WindowFixture(const WindowFixture&) = delete;
    WindowFixture& operator=(const WindowFixture&) = delete;

    ModelFixture services;
    HeldFetch network;
    QList<QUrl> opened;               ///< links and folders
    std::function<void()> whenOpened; ///< may be empty

    /// Made at the first use, and not shown.
    MainWindow& window();
    ContentView& content() { return window().content(); }
    Model& model() { return content().model(); }
    void destroyWindow() { window_.reset(); }
    /// Shows the window and lets it become the active one.
    void show();

    /// For a window that the test makes itself.
    ContentView::Services contentServices();

    /// Puts files of these names into the list, as a scan of the folder /in would.
    void list(const std::vector<std::string>& names);
    /// Lists them, with an output folder set.
    void prepare(const std::vector<std::string>& names);
    /// Begins a run, and waits until the first image is in hand.
    void start();
    /// Begins a run in which the first image is converted, the second one fails, and a third one is in hand.
    void startAndFailTheSecond();
    QString message() { return model().message(); }
    void awaitIdle();
    /// Answers what the banner asked for last, settings and picture: "Walks" in English, "Прогулки" in Russian.
    void answerBanner();
    /// Waits until so many items of the run are done.
    void awaitCompleted(qint64 count);

private:
    std::unique_ptr<MainWindow> window_;
};

} // namespace ovrel::test
