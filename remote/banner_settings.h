/// \file banner_settings.h
/// The publisher's settings file: which banner is shown, and where updates lie.
#pragma once

#include "model/app_language.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QUrl>

#include <optional>

namespace ovrel {

/// A parsed settings file. Immutable; any thread. Every failure is BannerError::invalid.
class BannerSettings {
public:
    /// The publisher's folder, "https://HOST/app/".
    static const QUrl& base();

    /// Where the settings file lies.
    static QUrl address();

    /// The most bytes that a settings file has.
    static constexpr qint64 limitBytes = 16384;

    /// \param text the whole file: lines "key = value", empty ones, and comments that begin with "#"
    /// \throws BannerError
    explicit BannerSettings(const QString& text);

    /// The file as it was downloaded.
    /// \throws BannerError, also for bytes that are not UTF-8
    static BannerSettings fromUtf8(const QByteArray& bytes);

    /// The switch for all banners.
    bool enabled() const { return enabled_; }
    /// At most 80 user-perceived characters.
    const QString& version() const { return version_; }
    /// Every pair of the file.
    const QHash<QString, QString>& values() const { return values_; }

    /// \return the feed of updates, or nothing when the publisher has switched updates off
    /// \throws BannerError
    std::optional<QUrl> updateFeed() const;

    /// Whether a banner is shown in this language.
    /// \throws BannerError
    bool isEnabled(AppLanguage language) const;

    struct Entry {
        QUrl image;  ///< allowed by BannerRedirectPolicy
        QUrl link;   ///< https, any host
        QString alt; ///< may be empty
    };

    /// The banner of this language, whatever the switches say.
    /// \throws BannerError
    Entry entry(AppLanguage language) const;

    /// Where a click may lead: https to any host, without user or password.
    /// \return nothing for every other text
    static std::optional<QUrl> destination(const std::optional<QString>& text);

private:
    /// \throws BannerError unless `value` is "true" or "false"
    static bool readSwitch(const QString& value);

    bool enabled_ = false;
    QString version_;
    QHash<QString, QString> values_;
};

} // namespace ovrel
