/// \file quality_slider.h
/// The slider for the quality.
#pragma once

#include <QSlider>

namespace ovrel {

/// 1 … 100 in steps of 1. A wheel that scrolls the column past it does not change it. Main thread.
class QualitySlider final : public QSlider {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QualitySlider)

public:
    explicit QualitySlider(QWidget* parent = nullptr);
    ~QualitySlider() override = default;

protected:
    void wheelEvent(QWheelEvent* event) override;
};

} // namespace ovrel
