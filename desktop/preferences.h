/// \file preferences.h
/// The few texts that Ovrel remembers for its user.
#pragma once

#include "model/app_language.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace ovrel {

/// A store of texts by name. Main thread.
class Preferences : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Preferences)

public:
    Preferences() = default;
    ~Preferences() override = default;

    /// This user's store: on Linux a file below $XDG_CONFIG_HOME, on other systems where their programs keep theirs.
    /// Nothing is written before a text is set, and nothing else is ever written. A store that cannot be written
    /// forgets its texts when it dies, and says nothing.
    static std::unique_ptr<Preferences> ofUser();

    virtual std::optional<QString> text(const QString& key) const = 0;

    /// Writes the text in any case, and emits `changed` when it has become another one.
    virtual void setText(const QString& key, const QString& text) = 0;

Q_SIGNALS:
    void changed(const QString& key);
};

/// The language that is stored, or Russian.
AppLanguage savedLanguage(const Preferences& preferences);

/// Stores the choice; whoever listens to `changed` learns of it before this returns.
void saveLanguage(Preferences& preferences, AppLanguage language);

/// Tells of the stored language now, and again whenever another text was stored as the language.
/// \param preferences lives as long as `context`
/// \param context nobody is told any more when it is gone
void followLanguage(const Preferences& preferences, const QObject* context,
                    const std::function<void(AppLanguage)>& follower);

} // namespace ovrel
