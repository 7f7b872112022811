/// \file focus_ring.h
/// Where the keyboard is, for whoever uses it. Main thread.
#pragma once

#include <QObject>
#include <QPointer>
#include <QRect>

class QFocusFrame;
class QWidget;

namespace ovrel {

/// What the ring goes around, in the widget's coordinates.
struct FocusShape {
    QRect where;
    double radius = 0.0; ///< pixels
};

FocusShape focusShapeOf(const QWidget& widget);

/// Whether a widget has the focus and the user has come there by keyboard. A ring that follows the mouse says nothing.
bool keyboardFocusIsSeen(const QWidget* widget);

/// Draws the ring around whatever button, menu or switch has the focus. One for the program.
class FocusRing final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FocusRing)

public:
    explicit FocusRing(QObject* parent);
    ~FocusRing() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setByKeyboard(bool seen);
    void goTo(QWidget* widget);

    QPointer<QFocusFrame> frame_; ///< goes with the window that it lies in
};

} // namespace ovrel
