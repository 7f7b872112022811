#include "ui/ovrel_style.h"

#include "ui/endless_animation.h"
#include "ui/focus_ring.h"
#include "ui/style_painting.h"

#include <QComboBox>
#include <QFocusFrame>
#include <QMenu>
#include <QPainterPath>
#include <QProgressBar>
#include <QPushButton>
#include <QStyleOption>

#include <cmath>

namespace ovrel {

namespace {

constexpr int menuRow = 30;
constexpr int comboHeight = metrics::smallButton;
constexpr int dialogButtonPadding = 15;
constexpr int scrollBarExtent = 14;
constexpr int knobMargin = metrics::focusGap + metrics::focusWidth;

ButtonKind kindOf(const QStyleOptionButton& button) {
    return button.features.testFlag(QStyleOptionButton::DefaultButton) ? ButtonKind::primary : ButtonKind::secondary;
}

QSize buttonSize(const QStyleOptionButton& button) {
    const QFontMetrics text(buttonFont(kindOf(button)));
    return {widthOf({.text = button.text}, text) + 2 * dialogButtonPadding, heightOf(metrics::button, text)};
}

/// Right of a menu's text.
int comboChevronRoom() {
    return 20 + besideText(metrics::smallIcon);
}

QSize menuItemSize(const QStyleOptionMenuItem& item, const QSize& contents) {
    if (item.menuItemType == QStyleOptionMenuItem::Separator)
        return {contents.width(), 9};
    return {menuItemWidth(item), heightOf(menuRow, item.fontMetrics)};
}

/// The sign goes from end to end in the time of a spinner's turn, and stands in the middle where nothing moves.
double busyPlace(const QStyleOptionProgressBar& bar, const QWidget* widget) {
    auto* const animation =
        widget == nullptr ? nullptr : widget->findChild<EndlessAnimation*>(QString(), Qt::FindDirectChildrenOnly);
    if (animation == nullptr) {
        return 0.5;
    }
    // Bars tell of their range by nothing but being painted.
    animation->setWanted(isBusy(bar));
    return animation->state() == EndlessAnimation::Running ? 1 - std::abs(2 * animation->value() - 1) : 0.5;
}

void animate(QProgressBar& bar) {
    if (bar.findChild<EndlessAnimation*>(QString(), Qt::FindDirectChildrenOnly) == nullptr) {
        auto* const animation = new EndlessAnimation(bar, 2 * motion::spinnerTurn);
        QObject::connect(animation, &EndlessAnimation::valueChanged, &bar, qOverload<>(&QWidget::update));
    }
}

} // namespace

OvrelStyle::OvrelStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

void OvrelStyle::polish(QWidget* widget) {
    QProxyStyle::polish(widget);
    // Their round corners show what is behind them.
    if (qobject_cast<QMenu*>(widget) != nullptr || widget->inherits("QComboBoxPrivateContainer"))
        widget->setAttribute(Qt::WA_TranslucentBackground);
    if (qobject_cast<QComboBox*>(widget) != nullptr || qobject_cast<QPushButton*>(widget) != nullptr)
        widget->setAttribute(Qt::WA_Hover);
    if (auto* const bar = qobject_cast<QProgressBar*>(widget))
        animate(*bar);
}

void OvrelStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                               const QWidget* widget) const {
    switch (element) {
    case PE_FrameFocusRect: // the ring around it says the same
        return;
    case PE_PanelMenu:
    case PE_FrameMenu:
        if (element == PE_PanelMenu)
            drawMenuGround(*painter, option->rect);
        return;
    case PE_PanelTipLabel: painter->fillRect(option->rect, colors().toolTip); return;
    default: QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void OvrelStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                             const QWidget* widget) const {
    switch (element) {
    case CE_PushButton:
        if (const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option)) {
            drawButton(*painter, button->rect, kindOf(*button), stateOf(*option), {.text = button->text});
            return;
        }
        break;
    case CE_MenuItem:
        if (const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option)) {
            drawMenuItem(*painter, *item);
            return;
        }
        break;
    case CE_MenuEmptyArea: return;
    case CE_ComboBoxLabel:
        if (const auto* box = qstyleoption_cast<const QStyleOptionComboBox*>(option)) {
            drawComboText(*painter, *box, subControlRect(CC_ComboBox, box, SC_ComboBoxEditField, widget));
            return;
        }
        break;
    case CE_ProgressBar:
        if (const auto* bar = qstyleoption_cast<const QStyleOptionProgressBar*>(option)) {
            drawProgress(*painter, *bar, busyPlace(*bar, widget));
            return;
        }
        break;
    case CE_FocusFrame:
        if (const auto* frame = qobject_cast<const QFocusFrame*>(widget)) {
            drawFocusFrame(*painter, *frame);
            return;
        }
        break;
    default: break;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

void OvrelStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                                    const QWidget* widget) const {
    switch (control) {
    case CC_Slider:
        if (const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option)) {
            drawSlider(*painter, *slider, subControlRect(CC_Slider, slider, SC_SliderHandle, widget),
                       keyboardFocusIsSeen(widget));
            return;
        }
        break;
    case CC_ScrollBar:
        if (const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option)) {
            drawScrollBar(*painter, *bar, subControlRect(CC_ScrollBar, bar, SC_ScrollBarSlider, widget));
            return;
        }
        break;
    case CC_ComboBox:
        if (const auto* box = qstyleoption_cast<const QStyleOptionComboBox*>(option)) {
            drawCombo(*painter, *box);
            return;
        }
        break;
    default: break;
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

QRect OvrelStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                                 const QWidget* widget) const {
    if (control == CC_ComboBox && part == SC_ComboBoxEditField)
        return visualRect(option->direction, option->rect, option->rect.adjusted(12, 0, -comboChevronRoom(), 0));
    if (control == CC_ScrollBar) {
        const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
        if (bar != nullptr && (part == SC_ScrollBarSlider || part == SC_ScrollBarGroove))
            return part == SC_ScrollBarGroove ? scrollGroove(*bar) : scrollHandle(*bar);
        if (part == SC_ScrollBarAddLine || part == SC_ScrollBarSubLine)
            return {};
    }
    return QProxyStyle::subControlRect(control, option, part, widget);
}

QSize OvrelStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                                   const QWidget* widget) const {
    switch (type) {
    case CT_PushButton:
        if (const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option))
            return buttonSize(*button);
        break;
    case CT_MenuItem:
        if (const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option))
            return menuItemSize(*item, contents);
        break;
    case CT_ComboBox: return {contents.width() + 12 + comboChevronRoom(), heightOf(comboHeight, option->fontMetrics)};
    case CT_ProgressBar: return {contents.width(), barThickness};
    default: break;
    }
    return QProxyStyle::sizeFromContents(type, option, contents, widget);
}

int OvrelStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    switch (metric) {
    case PM_ScrollBarExtent: return scrollBarExtent;
    case PM_ScrollBarSliderMin: return leastScrollHandle;
    case PM_ScrollView_ScrollBarSpacing:
    case PM_MenuPanelWidth:
    case PM_ButtonShiftHorizontal:
    case PM_ButtonShiftVertical:
    case PM_ButtonDefaultIndicator: return 0;
    case PM_SliderThickness:
    case PM_SliderControlThickness: return knobSize + 2 * knobMargin;
    case PM_SliderLength: return knobSize;
    case PM_MenuHMargin:
    case PM_MenuVMargin: return menuMargin;
    case PM_SmallIconSize: return besideText(metrics::icon);
    case PM_ToolTipLabelFrameWidth: return 9;
    case PM_FocusFrameHMargin:
    case PM_FocusFrameVMargin: return metrics::focusGap + metrics::focusWidth;
    default: return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int OvrelStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                          QStyleHintReturn* result) const {
    switch (hint) {
    case SH_FocusFrame_AboveWidget: return 1;
    case SH_FocusFrame_Mask: return 0;
    case SH_ComboBox_Popup: return 1;
    case SH_Slider_AbsoluteSetButtons: // a click goes where it points
        return Qt::LeftButton;
    case SH_ScrollBar_Transient: return 0;
    // Where nothing composes windows, their corners would be black.
    case SH_ToolTip_Mask:
    case SH_Menu_Mask:
        if (auto* mask = qstyleoption_cast<QStyleHintReturnMask*>(result)) {
            mask->region = roundedRegion(option->rect, hint == SH_Menu_Mask ? metrics::buttonRadius : 6);
            return 1;
        }
        return 0;
    case SH_Widget_Animate:
    case SH_Widget_Animation_Duration:
        return theme().animations ? QProxyStyle::styleHint(hint, option, widget, result) : 0;
    case SH_ToolTip_WakeUpDelay: return 500;
    case SH_DialogButtonBox_ButtonsHaveIcons: return 0;
    default: return QProxyStyle::styleHint(hint, option, widget, result);
    }
}

} // namespace ovrel
