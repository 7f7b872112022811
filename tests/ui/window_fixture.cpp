#include "tests/ui/window_fixture.h"

#include "tests/support/avif_writer.h"
#include "tests/support/fake_image_source.h"

#include <utility>

namespace ovrel::test {

WindowFixture::WindowFixture(AppLanguage language) {
    services.preferences->setText(QString(AppLanguage::preferenceKey), language.rawValue());
    services.preferences->written.clear();
}

WindowFixture::~WindowFixture() {
    services.scans->release();
    services.conversions->release();
    window_.reset();
    drain();
}

MainWindow& WindowFixture::window() {
    if (!window_) {
        window_ = std::make_unique<MainWindow>([this](QWidget&) { return contentServices(); });
    }
    return *window_;
}

ContentView::Services WindowFixture::contentServices() {
    return {.model = services.services, .fetch = network.function(), .openLink = [this](const QUrl& address) {
                opened.append(address);
                if (whenOpened) {
                    whenOpened();
                }
                return true;
            }};
}

void WindowFixture::show() {
    window().show();
    window().activateWindow();
    waitUntil([this] { return window().isActiveWindow(); });
}

void WindowFixture::list(const std::vector<std::string>& names) {
    std::vector<InputItem> items;
    items.reserve(names.size());
    for (const std::string& name : names) {
        items.push_back({std::filesystem::path("/in") / name, ""});
    }
    services.scans->succeed(std::move(items));
    model().add({"/in"});
    awaitIdle();
}

void WindowFixture::prepare(const std::vector<std::string>& names) {
    list(names);
    model().setOutput("/out");
}

void WindowFixture::start() {
    const std::size_t before = services.conversions->count();
    model().start();
    services.awaitConversions(before + 1);
}

void WindowFixture::startAndFailTheSecond() {
    start();
    services.convert();
    services.failToConvert();
    services.awaitConversions(3);
    awaitCompleted(2);
}

void WindowFixture::answerBanner() {
    network.answer(network.count() - 1, "enabled=true\nversion=3\n"
                                        "en_url=https://example.com/en\nen_alt=Walks\n"
                                        "ru_url=https://example.com/ru\nru_alt=Прогулки\n");
    network.answer(network.count() - 1, QByteArray::fromStdString(writeAvif(makeImage(60, 10, {120, 120, 120, 255}))));
    waitUntil([this] { return content().banner().creative().has_value(); });
}

void WindowFixture::awaitIdle() {
    waitUntil([this] { return model().canEditQueue(); });
}

void WindowFixture::awaitCompleted(qint64 count) {
    waitUntil([this, count] { return model().completed() >= count; });
}

} // namespace ovrel::test
