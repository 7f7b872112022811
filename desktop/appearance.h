/// \file appearance.h
/// What the user's desktop says about looks: light or dark, and whether things may move.
#pragma once

#include "desktop/color_scheme.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>

#include <cstddef>
#include <cstdint>

class QDBusMessage;
class QPalette;

namespace ovrel {

/// Follows the desktop's settings while it lives. Asks the desktop portal; where that has no opinion on light or dark,
/// Qt's colour scheme counts where Qt knows one, else the palette. What is no answer to what was asked changes nothing.
/// Main thread; needs a QGuiApplication.
class Appearance : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Appearance)

public:
    static constexpr int patienceMilliseconds = 100;

    /// Waits for the portal, but no longer than `patienceMilliseconds`, so that the first window is painted right at
    /// once. An answer that comes later is told as a change.
    explicit Appearance(QObject* parent = nullptr);
    /// The same with another bus than that of the user's session.
    explicit Appearance(QDBusConnection bus, int patience = patienceMilliseconds, QObject* parent = nullptr);
    ~Appearance() override;

    ColorScheme colorScheme() const { return colorScheme_; }
    /// Whether the user asked for no animations.
    bool reducedMotion() const { return reducedMotion_; }

    /// Judged by the lightness of windows and of the text on them.
    static ColorScheme colorSchemeOf(const QPalette& palette);

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    void colorSchemeChanged();
    void reducedMotionChanged();

private Q_SLOTS:
    void takeChange(const QString& group, const QString& key, const QDBusVariant& value);

private:
    Q_PROPERTY(ovrel::ColorScheme colorScheme READ colorScheme NOTIFY colorSchemeChanged)
    Q_PROPERTY(bool reducedMotion READ reducedMotion NOTIFY reducedMotionChanged)

    void askAndWait(int patience);
    void ask();
    void ask(std::size_t setting, const QString& method);
    void takeReply(std::size_t setting, const QDBusMessage& reply);
    void takeValue(std::size_t setting, const QVariant& value);
    void takePalette();
    void lookUnderPalette();
    ColorScheme presentColorScheme() const;
    bool presentReducedMotion() const;
    void refresh();

    QDBusConnection bus_;

    // What the portal said, or what its silence means.
    quint32 preferredScheme_ = 0; ///< 0 none, 1 dark, 2 light
    bool hasAnimations_ = true;
    quint32 preferredMotion_ = 0;  ///< 0 none, 1 reduced
    double animationDuration_ = 1; ///< a factor

    bool looksUnder_ = false;                        ///< the program's palette is away
    ColorScheme paletteScheme_ = ColorScheme::light; ///< of the palette that the desktop gave
    ColorScheme colorScheme_ = ColorScheme::light;
    bool reducedMotion_ = false;
};

} // namespace ovrel
