/// \file ovrel_style.h
/// How Qt's own controls are drawn, so that they look the same on every desktop.
#pragma once

#include <QProxyStyle>

namespace ovrel {

/// Fusion with the theme's colours, shapes and measures. Main thread.
class OvrelStyle final : public QProxyStyle {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(OvrelStyle)

public:
    OvrelStyle();
    ~OvrelStyle() override = default;

    void polish(QWidget* widget) override;
    using QProxyStyle::polish;

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                         const QWidget* widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                           const QWidget* widget) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* result) const override;
};

} // namespace ovrel
