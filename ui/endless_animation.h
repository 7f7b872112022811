/// \file endless_animation.h
/// Movement that goes on as long as something is done.
#pragma once

#include <QVariantAnimation>

namespace ovrel {

/// Goes from 0 to 1 again and again while it is wanted and its widget is seen. Stands still at 0 where the desktop
/// wants no animations, from the moment on that it says so. Each step is told by valueChanged(). Main thread.
class EndlessAnimation final : public QVariantAnimation {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(EndlessAnimation)

public:
    /// \param widget the owner
    /// \param turn the time from 0 to 1, in milliseconds
    EndlessAnimation(QWidget& widget, int turn);
    ~EndlessAnimation() override = default;

    /// Not wanted at first.
    void setWanted(bool wanted);
    /// 0 … 1
    double value() const { return state() == Running ? currentValue().toDouble() : 0.0; }

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void takeState();

    bool seen_;
    bool wanted_ = false;
};

} // namespace ovrel
