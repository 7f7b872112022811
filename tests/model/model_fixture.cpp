#include "tests/model/model_fixture.h"

#include "model/background.h"
#include "model/path_text.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace ovrel::test {

std::optional<QString> FakePreferences::text(const QString& key) const {
    const auto found = texts_.find(key);
    return found == texts_.end() ? std::nullopt : std::optional(found->second);
}

void FakePreferences::setText(const QString& key, const QString& text) {
    const bool changes = this->text(key) != text;
    texts_[key] = text;
    written.push_back(key.toStdString() + "=" + text.toStdString());
    if (changes) {
        Q_EMIT changed(key);
    }
}

ModelFixture::ModelFixture() {
    preferences->setText(QString(AppLanguage::preferenceKey), QStringLiteral("en"));
    preferences->written.clear();
    services.chooser = chooser;
    services.preferences = preferences;
    services.updateManager = &updates.manager();
    services.keepAwake = [this](const QString& reason) {
        awakeReasons.push_back(reason.toStdString());
        ++awake;
        return std::shared_ptr<void>(nullptr, [this](void*) { --awake; });
    };
    services.scan = [held = scans](std::span<const std::filesystem::path> roots, bool recursive) {
        return held->call({{roots.begin(), roots.end()}, recursive});
    };
    services.convert = [held = conversions](const InputItem& item, const std::filesystem::path& output, double quality,
                                            EncodingMode mode, int speed) {
        return held->call({item, output, quality, mode, speed});
    };
    services.supported = [this] { return systemWriter; };
}

ModelFixture::~ModelFixture() {
    scans->release();
    conversions->release();
    model_.reset();
    drain();
    EXPECT_EQ(awake, 0);
}

Model& ModelFixture::model() {
    if (!model_) {
        model_ = std::make_unique<Model>(services);
        watch();
    }
    return *model_;
}

void ModelFixture::watch() {
    for (void (Model::*const signal)() : signalsOfModel()) {
        QObject::connect(model_.get(), signal, [this, model = model_.get()] {
            EXPECT_EQ(updates.manager().processing(), model->busy() || model->scanning());
            EXPECT_EQ(model->canEditQueue(), !model->busy() && !model->scanning());
        });
    }
}

void ModelFixture::list(const std::vector<std::string>& names) {
    std::vector<InputItem> items;
    items.reserve(names.size());
    for (const std::string& name : names) {
        items.push_back({std::filesystem::path("/in") / name, ""});
    }
    scans->succeed(std::move(items));
    model().add({"/in"});
    awaitIdle();
}

void ModelFixture::prepare(const std::vector<std::string>& names) {
    list(names);
    model().setOutput("/out");
}

void ModelFixture::convert(const std::string& resultName, bool multiImage) {
    conversions->succeed({std::filesystem::path("/out") / resultName, multiImage});
}

void ModelFixture::failToConvert(const std::string& russian, const std::string& english) {
    conversions->fail(std::make_exception_ptr(ConversionError(russian, english)));
}

void ModelFixture::awaitConversions(std::size_t count) const {
    waitUntil([&] { return conversions->count() >= count; });
}

void ModelFixture::awaitIdle() {
    waitUntil([this] { return model().canEditQueue(); });
}

std::vector<std::string> ModelFixture::listed() {
    std::vector<std::string> names;
    for (const InputItem& item : model().items()) {
        names.push_back(item.url.filename().native());
    }
    return names;
}

std::string ModelFixture::statusOf(const std::string& name, AppLanguage language) {
    const auto found = model().statuses().find("/in/" + name);
    return found == model().statuses().end() ? "" : found->second.text(language).toStdString();
}

void waitUntil(const std::function<bool()>& condition) {
    QEventLoop events; // also on a thread that has had none so far
    while (!condition()) {
        events.processEvents();
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
}

void drain() {
    backgroundThreads().waitForDone();
    QEventLoop().processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

const std::vector<void (Model::*)()>& signalsOfModel() {
    static const std::vector<void (Model::*)()> all{
        &Model::itemsChanged,     &Model::selectionChanged, &Model::rootsChanged,        &Model::recursiveChanged,
        &Model::targetedChanged,  &Model::scanningChanged,  &Model::busyChanged,         &Model::cancelledChanged,
        &Model::completedChanged, &Model::successesChanged, &Model::failuresChanged,     &Model::activeItemChanged,
        &Model::finishedChanged,  &Model::statusesChanged,  &Model::messageKeyChanged,   &Model::errorChanged,
        &Model::outputChanged,    &Model::qualityChanged,   &Model::modeChanged,         &Model::speedChanged,
        &Model::languageChanged,  &Model::canStartChanged,  &Model::canEditQueueChanged, &Model::messageChanged,
        &Model::statusesCleared,
    };
    return all;
}

SignalCount::SignalCount(Model& model, void (Model::*signal)()) {
    QObject::connect(&model, signal, [count = count_] { ++*count; });
}

} // namespace ovrel::test
