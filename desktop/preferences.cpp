#include "desktop/preferences.h"

#include <QSettings>
#include <QVariant>

namespace ovrel {

namespace {

class UserPreferences final : public Preferences {
public:
    UserPreferences() : settings_(QSettings::UserScope, QStringLiteral("Ovrel"), QStringLiteral("Ovrel")) {
        settings_.setFallbacksEnabled(false); // what an administrator wrote for all programs is not ours
    }

    std::optional<QString> text(const QString& key) const override {
        const QVariant value = settings_.value(key);
        return value.isValid() ? std::optional(value.toString()) : std::nullopt;
    }

    void setText(const QString& key, const QString& text) override {
        const bool changes = this->text(key) != text;
        settings_.setValue(key, text);
        settings_.sync(); // a choice outlives a crash
        if (changes) {
            Q_EMIT changed(key);
        }
    }

private:
    QSettings settings_;
};

QString languageKey() {
    return QString(AppLanguage::preferenceKey);
}

} // namespace

std::unique_ptr<Preferences> Preferences::ofUser() {
    return std::make_unique<UserPreferences>();
}

AppLanguage savedLanguage(const Preferences& preferences) {
    return AppLanguage::saved(preferences.text(languageKey()));
}

void saveLanguage(Preferences& preferences, AppLanguage language) {
    preferences.setText(languageKey(), language.rawValue());
}

void followLanguage(const Preferences& preferences, const QObject* context,
                    const std::function<void(AppLanguage)>& follower) {
    QObject::connect(&preferences, &Preferences::changed, context, [&preferences, follower](const QString& key) {
        if (key == languageKey()) {
            follower(savedLanguage(preferences));
        }
    });
    follower(savedLanguage(preferences));
}

} // namespace ovrel
