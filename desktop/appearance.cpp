#include "desktop/appearance.h"

#include "desktop/bus_call.h"

#include <QColor>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDeadlineTimer>
#include <QEvent>
#include <QGuiApplication>
#include <QMetaType>
#include <QPalette>
#include <QPointer>
#include <QScopedValueRollback>
#include <QVariant>
#include <QtGlobal>
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
#include <QStyleHints>
#endif

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

namespace ovrel {

namespace {

// XDG Desktop Portal, org.freedesktop.portal.Settings
QString settingsInterface() {
    return QStringLiteral("org.freedesktop.portal.Settings");
}
/// Of version 2. Before that there was a method whose answer is wrapped once more.
QString readMethod() {
    return QStringLiteral("ReadOne");
}
QString formerReadMethod() {
    return QStringLiteral("Read");
}

struct Setting {
    const char* group;
    const char* key;
};

enum : std::size_t { colorSchemeSetting, motionSetting, animationsSetting, durationSetting };

constexpr std::array<Setting, 4> settings{{{"org.freedesktop.appearance", "color-scheme"},
                                           {"org.freedesktop.appearance", "reduced-motion"},
                                           {"org.gnome.desktop.interface", "enable-animations"},
                                           {"org.kde.kdeglobals.KDE", "AnimationDurationFactor"}}};

QDBusMessage question(std::size_t setting, const QString& method) {
    return busCall(portalService, portalPath, settingsInterface(), method,
                   {QString::fromLatin1(settings.at(setting).group), QString::fromLatin1(settings.at(setting).key)});
}

bool isMethodMissing(const QDBusMessage& reply) {
    return reply.type() == QDBusMessage::ErrorMessage && QDBusError(reply).type() == QDBusError::UnknownMethod;
}

bool isTimeout(const QDBusMessage& reply) {
    const QDBusError::ErrorType type = QDBusError(reply).type();
    return reply.type() == QDBusMessage::ErrorMessage &&
           (type == QDBusError::NoReply || type == QDBusError::Timeout || type == QDBusError::TimedOut);
}

/// What lies in variants within variants; their depth is bounded by the bus.
QVariant unwrapped(QVariant value) {
    while (value.userType() == qMetaTypeId<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

} // namespace

Appearance::Appearance(QObject* parent) : Appearance(QDBusConnection::sessionBus(), patienceMilliseconds, parent) {}

Appearance::Appearance(QDBusConnection bus, int patience, QObject* parent, std::function<QPalette()> palette)
    : QObject(parent), bus_(std::move(bus)), palette_(std::move(palette)) {
    paletteScheme_ = colorSchemeOf(palette_());
    // The bus takes no slot whose types Qt has not met by their names yet.
    qRegisterMetaType<QDBusVariant>();
    // Listening comes first, so that no change is missed between an answer and the first signal.
    bus_.connect(portalService, portalPath, settingsInterface(), QStringLiteral("SettingChanged"), this,
                 SLOT(takeChange(QString, QString, QDBusVariant)));
    askAndWait(patience);
    colorScheme_ = presentColorScheme();
    reducedMotion_ = presentReducedMotion();

    auto* const watcher = new QDBusServiceWatcher(portalService, bus_, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] { ask(); });
    QCoreApplication::instance()->installEventFilter(this);
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    connect(QGuiApplication::styleHints(), &QStyleHints::colorSchemeChanged, this, &Appearance::refresh);
#endif
}

Appearance::~Appearance() = default;

ColorScheme Appearance::colorSchemeOf(const QPalette& palette) {
    const bool isDark = palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
    return isDark ? ColorScheme::dark : ColorScheme::light;
}

// Nothing tells of it where the program has set every colour, unless those are away for a moment.
QPalette Appearance::desktopPalette() {
    QPalette own = QGuiApplication::palette();
    if (!own.isBrushSet(QPalette::Active, QPalette::Window)) {
        return own;
    }
    QGuiApplication::setPalette(QPalette());
    QPalette desktop = QGuiApplication::palette();
    QGuiApplication::setPalette(own);
    return desktop;
}

bool Appearance::eventFilter(QObject* watched, QEvent* event) {
    if (watched == QCoreApplication::instance() && event->type() == QEvent::ApplicationPaletteChange && !looksUnder_) {
        takePalette();
        refresh();
    } else if (event->type() == QEvent::ThemeChange && watched->isWindowType()) {
        {
            const QScopedValueRollback looking(looksUnder_, true);
            paletteScheme_ = colorSchemeOf(palette_());
        }
        refresh();
    }
    return QObject::eventFilter(watched, event);
}

void Appearance::takeChange(const QString& group, const QString& key, const QDBusVariant& value) {
    for (std::size_t setting = 0; setting < settings.size(); ++setting) {
        if (group == QLatin1String(settings.at(setting).group) && key == QLatin1String(settings.at(setting).key)) {
            takeValue(setting, unwrapped(value.variant()));
            refresh();
        }
    }
}

void Appearance::askAndWait(int patience) {
    QDeadlineTimer deadline(patience);
    std::vector<std::size_t> unanswered{colorSchemeSetting, motionSetting, animationsSetting, durationSetting};
    std::vector<std::size_t> late;
    for (const QString& method : {readMethod(), formerReadMethod()}) {
        std::vector<std::pair<std::size_t, QDBusPendingCall>> calls; // all under way at once
        for (const std::size_t setting : std::exchange(unanswered, {})) {
            const auto remaining = static_cast<int>(deadline.remainingTime());
            calls.emplace_back(setting, bus_.asyncCall(question(setting, method), std::max(remaining, 1)));
        }
        for (auto& [setting, call] : calls) {
            call.waitForFinished();
            const QDBusMessage reply = call.reply();
            if (isMethodMissing(reply)) {
                unanswered.push_back(setting);
            } else if (isTimeout(reply)) {
                late.push_back(setting);
            } else {
                takeReply(setting, reply);
            }
        }
    }
    for (const std::size_t setting : late) {
        ask(setting, readMethod());
    }
}

void Appearance::ask() {
    for (std::size_t setting = 0; setting < settings.size(); ++setting) {
        ask(setting, readMethod());
    }
}

void Appearance::ask(std::size_t setting, const QString& method) {
    auto* const watcher = new QDBusPendingCallWatcher(bus_.asyncCall(question(setting, method)), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, setting, method] {
        watcher->deleteLater();
        const QDBusMessage reply = watcher->reply();
        if (isMethodMissing(reply) && method == readMethod()) {
            ask(setting, formerReadMethod());
        } else {
            takeReply(setting, reply);
            refresh();
        }
    });
}

void Appearance::takeReply(std::size_t setting, const QDBusMessage& reply) {
    if (const std::optional<QVariant> answer = onlyAnswer(reply)) {
        takeValue(setting, unwrapped(*answer));
    }
}

void Appearance::takeValue(std::size_t setting, const QVariant& value) {
    const int type = value.userType();
    switch (setting) {
    case colorSchemeSetting:
        if (type == QMetaType::UInt) {
            preferredScheme_ = value.toUInt();
        }
        break;
    case motionSetting:
        if (type == QMetaType::UInt) {
            preferredMotion_ = value.toUInt();
        }
        break;
    case animationsSetting:
        if (type == QMetaType::Bool) {
            hasAnimations_ = value.toBool();
        }
        break;
    default: // KDE hands its settings on as the texts of its files
        if (type == QMetaType::QString || type == QMetaType::Double || type == QMetaType::Int) {
            bool isNumber = false;
            const double factor = value.toDouble(&isNumber);
            animationDuration_ = isNumber ? factor : animationDuration_;
        }
    }
}

void Appearance::takePalette() {
    // What the program itself sets tells nothing about the desktop.
    const QPalette palette = QGuiApplication::palette();
    if (!palette.isBrushSet(QPalette::Active, QPalette::Window)) {
        paletteScheme_ = colorSchemeOf(palette);
    }
}

ColorScheme Appearance::presentColorScheme() const {
    switch (preferredScheme_) {
    case 1: return ColorScheme::dark;
    case 2: return ColorScheme::light;
    default: break; // other values mean no preference
    }
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    switch (QGuiApplication::styleHints()->colorScheme()) {
    case Qt::ColorScheme::Dark: return ColorScheme::dark;
    case Qt::ColorScheme::Light: return ColorScheme::light;
    case Qt::ColorScheme::Unknown: break;
    }
#endif
    return paletteScheme_;
}

bool Appearance::presentReducedMotion() const {
    return !hasAnimations_ || preferredMotion_ == 1 || animationDuration_ == 0;
}

void Appearance::refresh() {
    const ColorScheme schemeBefore = std::exchange(colorScheme_, presentColorScheme());
    const bool motionBefore = std::exchange(reducedMotion_, presentReducedMotion());
    const bool schemeChanges = colorScheme_ != schemeBefore;
    const bool motionChanges = reducedMotion_ != motionBefore;
    const QPointer<Appearance> self(this); // whoever listens may end this
    if (schemeChanges) {
        Q_EMIT colorSchemeChanged();
    }
    if (motionChanges && self) {
        Q_EMIT reducedMotionChanged();
    }
}

} // namespace ovrel
