#include "ui/progress_bar.h"

#include "ui/control_painting.h"

#include <QPainter>

#include <algorithm>
#include <limits>

namespace ovrel {

ProgressBar::ProgressBar(QWidget* parent) : QProgressBar(parent) {
    setTextVisible(false);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    shown_.setDuration(motion::progress);
    shown_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&shown_, &QVariantAnimation::valueChanged, this, [this] { update(); });
}

void ProgressBar::setCounters(qint64 done, qint64 total) {
    // A screen reader says the counters as long as they fit.
    constexpr qint64 most = std::numeric_limits<int>::max();
    setRange(0, static_cast<int>(std::clamp<qint64>(total, 1, most)));
    setValue(static_cast<int>(std::clamp<qint64>(done, 0, maximum())));

    const double from = shown_.state() == QVariantAnimation::Running ? shown_.currentValue().toDouble() : share_;
    const double to = static_cast<double>(value()) / maximum();
    shown_.stop();
    share_ = to;
    if (theme().animations && isVisible() && to > from) {
        shown_.setStartValue(from);
        shown_.setEndValue(to);
        shown_.start();
    }
    update();
}

QSize ProgressBar::sizeHint() const {
    return {360, barThickness};
}

QSize ProgressBar::minimumSizeHint() const {
    return {60, barThickness};
}

void ProgressBar::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const double share = shown_.state() == QVariantAnimation::Running ? shown_.currentValue().toDouble() : share_;
    drawBar(painter, rect(), share, layoutDirection());
}

} // namespace ovrel
