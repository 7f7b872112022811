/// \file model_fixture.h
/// A model of the test's own, and all that it talks to.
#pragma once

#include "model/model.h"
#include "tests/model/held_calls.h"
#include "tests/updates/update_fixture.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

/// A store in memory that remembers what was written.
class FakePreferences final : public Preferences {
public:
    std::optional<QString> text(const QString& key) const override;
    void setText(const QString& key, const QString& text) override;

    std::vector<std::string> written; ///< KEY=TEXT

private:
    std::map<QString, QString> texts_;
};

/// Remembers what it was asked for, and answers when the test does.
class FakeChooser final : public FileChooser {
public:
    void choose(const FileRequest& request, Reply reply) override { asked.emplace_back(request, std::move(reply)); }

    /// Answers the latest request.
    void answer(const std::vector<std::filesystem::path>& chosen) const { asked.back().second(chosen); }

    std::vector<std::pair<FileRequest, Reply>> asked;
};

/// What a scan was asked for.
struct ScanCall {
    std::vector<std::filesystem::path> roots;
    bool recursive = false;
};

/// What a conversion was asked for.
struct ConvertCall {
    InputItem item;
    std::filesystem::path output;
    double quality = 0.0;
    EncodingMode mode = EncodingMode::efficient;
    int speed = 0;
};

/// Scans and conversions wait for the test, unless others are set before the model is made. At every signal of the
/// model its update manager is looked at, and must know whether work is going on.
class ModelFixture {
public:
    ModelFixture();
    ~ModelFixture();
    ModelFixture(const ModelFixture&) = delete;
    ModelFixture& operator=(const ModelFixture&) = delete;

    UpdateFixture updates;
    std::shared_ptr<FakePreferences> preferences = std::make_shared<FakePreferences>();
    std::shared_ptr<FakeChooser> chooser = std::make_shared<FakeChooser>();
    std::shared_ptr<HeldCalls<ScanCall, std::vector<InputItem>>> scans =
        std::make_shared<HeldCalls<ScanCall, std::vector<InputItem>>>();
    std::shared_ptr<HeldCalls<ConvertCall, ConversionResult>> conversions =
        std::make_shared<HeldCalls<ConvertCall, ConversionResult>>();
    bool systemWriter = true;              ///< whether the system can write AVIF
    std::vector<std::string> awakeReasons; ///< of all who kept the computer awake
    int awake = 0;                         ///< how many keep it awake now
    Model::Services services;

    /// Made at the first use.
    Model& model();
    void destroyModel() { model_.reset(); }
    bool hasModel() const { return model_ != nullptr; }

    /// Puts files of these names into the list, as a scan of the folder /in would.
    void list(const std::vector<std::string>& names);
    /// Lists them, with an output folder set.
    void prepare(const std::vector<std::string>& names);

    /// Ends the conversion in hand, or the next one.
    void convert(const std::string& resultName = "result.avif", bool multiImage = false);
    void failToConvert(const std::string& russian = "Беда", const std::string& english = "Trouble");

    /// Waits until so many conversions have begun.
    void awaitConversions(std::size_t count) const;
    /// Waits until neither a scan nor a run goes on.
    void awaitIdle();

    std::string message() { return model().message().toStdString(); }
    std::vector<std::string> listed();
    std::string statusOf(const std::string& name, AppLanguage language = AppLanguage::english);

private:
    void watch();

    std::unique_ptr<Model> model_;
};

/// Runs the event loop until something has come to be.
void waitUntil(const std::function<bool()>& condition);

/// Lets work in the background end, and everybody hear of it.
void drain();

/// Each signal without arguments.
const std::vector<void (Model::*)()>& signalsOfModel();

/// Counts how often a signal comes.
class SignalCount {
public:
    SignalCount(Model& model, void (Model::*signal)());
    int take() { return std::exchange(*count_, 0); }

private:
    std::shared_ptr<int> count_ = std::make_shared<int>(0);
};

} // namespace ovrel::test
