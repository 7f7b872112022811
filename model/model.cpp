#include "model/model.h"

#include "model/model_step.h"
#include "updates/update_manager.h"

#include <algorithm>
#include <utility>

namespace ovrel {

Model::Model(Services services, QObject* parent)
    : QObject(parent)
    , services_(std::move(services))
    , messageKey_(QStringLiteral("Добавьте изображения или папку"))
    , language_(savedLanguage(*services_.preferences)) {
    connect(services_.updateManager, &UpdateManager::installingChanged, this, &Model::canStartChanged);
    connect(services_.preferences.get(), &Preferences::changed, this, [this](const QString& key) {
        if (key == AppLanguage::preferenceKey) {
            Step step(*this);
            step.set(language_, savedLanguage(*services_.preferences), &Model::languageChanged);
            step.tell();
        }
    });
}

Model::~Model() = default;

bool Model::canStart() const {
    if (services_.updateManager->installing() || items_.isEmpty() || !output_ || busy_ || scanning_) {
        return false;
    }
    if (mode_ == EncodingMode::efficient || services_.supported()) {
        return true;
    }
    return std::all_of(items_.begin(), items_.end(),
                       [](const InputItem& item) { return item.isAVIF() || item.isGIF(); });
}

void Model::setRecursive(bool recursive) {
    Step step(*this);
    step.set(recursive_, recursive, &Model::recursiveChanged);
    step.tell();
}

void Model::setTargeted(bool targeted) {
    Step step(*this);
    step.set(targeted_, targeted, &Model::targetedChanged);
    step.tell();
}

void Model::setCancelled(bool cancelled) {
    Step step(*this);
    step.set(cancelled_, cancelled, &Model::cancelledChanged);
    step.tell();
}

void Model::setError(std::exception_ptr error) {
    Step step(*this);
    step.set(error_, std::move(error), &Model::errorChanged);
    step.tell();
}

void Model::setOutput(std::optional<std::filesystem::path> folder) {
    Step step(*this);
    step.set(output_, std::move(folder), &Model::outputChanged);
    step.tell();
}

void Model::setQuality(double percent) {
    Step step(*this);
    step.set(quality_, percent, &Model::qualityChanged);
    step.tell();
}

void Model::setMode(EncodingMode mode) {
    Step step(*this);
    step.set(mode_, mode, &Model::modeChanged);
    step.tell();
}

void Model::setSpeed(qint64 speed) {
    Step step(*this);
    step.set(speed_, speed, &Model::speedChanged);
    step.tell();
}

void Model::setLanguage(AppLanguage language) {
    // Who listens may end the model, and the choice is stored all the same.
    const std::shared_ptr<Preferences> preferences = services_.preferences;
    Step step(*this);
    step.set(language_, language, &Model::languageChanged);
    saveLanguage(*preferences, language);
    step.tell();
}

} // namespace ovrel
