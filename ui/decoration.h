/// \file decoration.h
/// Parts of a window that are looked at, but neither read by a screen reader nor used.
#pragma once

#include "ui/icons.h"
#include "ui/theme.h"

#include <QFrame>
#include <QLabel>
#include <QWidget>

namespace ovrel {

class EndlessAnimation;

/// A color of the theme, so that it can be asked for whenever something is drawn.
using ColorOf = QColor Colors::*;

/// A rounded ground with an outline. Main thread.
class Card final : public QFrame {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Card)

public:
    explicit Card(QWidget* parent = nullptr);
    ~Card() override = default;

    void setFill(ColorOf fill, bool outlined);
    void setFillWhenDisabled(ColorOf fill) { disabledFill_ = fill; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ColorOf fill_ = &Colors::surface;
    ColorOf disabledFill_ = nullptr;
    bool outlined_ = true;
};

/// A thin line between two sections.
class Divider final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Divider)

public:
    explicit Divider(QWidget* parent = nullptr);
    ~Divider() override = default;

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// An icon in a color of the theme, on a tile or on nothing.
class IconView final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(IconView)

public:
    /// \param size pixels, beside text of the usual size
    IconView(Icon icon, int size, ColorOf color, QWidget* parent = nullptr);
    ~IconView() override = default;

    void setIcon(Icon icon, ColorOf color);
    /// \param size pixels, beside text of the usual size
    /// \param fill null for none
    void setTile(int size, ColorOf fill, double radius);

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void takeSize();

    Icon icon_;
    int size_;
    ColorOf color_;
    ColorOf tile_ = nullptr;
    int tileSize_ = 0;
    double tileRadius_ = 0.0;
};

/// The program's own icon.
class ApplicationIcon final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ApplicationIcon)

public:
    /// \param size pixels, whatever the size of text
    explicit ApplicationIcon(int size, QWidget* parent = nullptr);
    ~ApplicationIcon() override = default;

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A short text on a fully rounded ground.
class Pill final : public QLabel {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Pill)

public:
    explicit Pill(QWidget* parent = nullptr);
    ~Pill() override = default;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void takeTheme();
};

/// Turns while it is seen, or stands still where the desktop wants no animations.
class Spinner final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Spinner)

public:
    /// \param size pixels, beside text of the usual size
    explicit Spinner(int size, QWidget* parent = nullptr);
    ~Spinner() override = default;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void takeSize();

    int size_;
    EndlessAnimation* turn_; ///< a child
};

/// The ring that turns, as drawn at one moment.
/// \param degrees by which it has turned
void drawSpinner(QPainter& painter, const QRectF& where, double degrees);

} // namespace ovrel
