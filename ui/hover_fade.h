/// \file hover_fade.h
/// The pointer's effect on a control, which comes and goes gently.
#pragma once

#include <QVariantAnimation>

class QWidget;

namespace ovrel {

/// Watches one widget and repaints it while the effect changes. Main thread.
class HoverFade final : public QVariantAnimation {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HoverFade)

public:
    /// \param widget owns this
    explicit HoverFade(QWidget& widget);
    ~HoverFade() override = default;

    /// 0 … 1
    double value() const { return value_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fadeTo(double target);

    QWidget& widget_;
    double value_ = 0.0;
};

} // namespace ovrel
