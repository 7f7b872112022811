/// \file fake_portal.h
/// A desktop portal that tells of settings and of their changes.
#pragma once

#include "tests/desktop/private_bus.h"

#include <QDBusMessage>
#include <QString>
#include <QThread>
#include <QVariant>

#include <cstdint>
#include <map>
#include <string>

namespace ovrel::test {

inline const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
inline const QString portalSettings = QStringLiteral("org.freedesktop.portal.Settings");

// Settings are called by their group and key.
inline const std::string colorSchemeSetting = "org.freedesktop.appearance color-scheme";
inline const std::string reducedMotionSetting = "org.freedesktop.appearance reduced-motion";
inline const std::string animationsSetting = "org.gnome.desktop.interface enable-animations";
inline const std::string durationSetting = "org.kde.kdeglobals.KDE AnimationDurationFactor";

/// As the portal wraps values.
QVariant wrapped(const QVariant& value);

/// Answers on a thread of its own, so that it can be waited for, unless it is late.
class FakePortal {
public:
    enum class Version : std::uint8_t { one, two };

    FakePortal(PrivateBus& bus, std::map<std::string, QVariant> settings, Version version = Version::two,
               bool isLate = false);
    ~FakePortal();
    FakePortal(const FakePortal&) = delete;
    FakePortal& operator=(const FakePortal&) = delete;

    /// Tells of a change; a value that is right is wrapped().
    void change(const std::string& setting, const QVariant& value);

private:
    QDBusMessage reply(const QDBusMessage& call, Version version) const;

    std::map<std::string, QVariant> settings_;
    BusCalls calls_;
    QThread thread_;
    FakeService service_;
};

} // namespace ovrel::test
