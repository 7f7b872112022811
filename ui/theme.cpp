#include "ui/theme.h"

#include <QApplication>
#include <QEvent>
#include <QFontDatabase>
#include <QFontInfo>
#include <QPointer>
#include <QToolTip>
#include <QWidget>

#include <algorithm>
#include <utility>

namespace ovrel {

namespace {

QColor rgb(QRgb value) {
    return QColor::fromRgb(value);
}

const Colors lightColors{
    .window = rgb(0xF3F5F8),
    .surface = rgb(0xFFFFFF),
    .inset = rgb(0xE9EDF2),
    .hover = rgb(0xF1F4F8),
    .border = rgb(0xDCE1E8),
    .controlBorder = rgb(0x7B8694),
    .text = rgb(0x17202B),
    .secondaryText = rgb(0x545F6D),
    .accent = ovrelAccent,
    .accentFill = rgb(0x1773BE),
    .accentHover = rgb(0x1567AB),
    .accentPress = rgb(0x115690),
    .accentText = rgb(0x1264A8),
    .accentTint = rgb(0xE6F2FC),
    .selection = rgb(0xDDEEFC),
    .selectionBorder = rgb(0xB4D8F6),
    .success = rgb(0x17804A),
    .danger = rgb(0xC2352B),
    .dangerTint = rgb(0xFCEAE8),
    .violet = rgb(0x6F48C4),
    .violetTint = rgb(0xEFE9FB),
    .photoTile = rgb(0xEDF0F4),
    .disabled = rgb(0x98A2AE),
    .disabledFill = rgb(0xE9EDF2),
    .segmentSelectedDisabled = rgb(0xF6F8FA),
    .segmentSelected = rgb(0xFFFFFF),
    .track = rgb(0xC3CBD5),
    .scrollBar = rgb(0xC3CBD5),
    .toolTip = rgb(0x1E2630),
    .toolTipText = rgb(0xF2F5F8),
    .knob = rgb(0xFFFFFF),
    .onAccent = rgb(0xFFFFFF),
};

const Colors darkColors{
    .window = rgb(0x13171C),
    .surface = rgb(0x1B2027),
    .inset = rgb(0x272E37),
    .hover = rgb(0x222932),
    .border = rgb(0x2E3640),
    .controlBorder = rgb(0x6F7B8A),
    .text = rgb(0xEDF1F5),
    .secondaryText = rgb(0xA4AFBB),
    .accent = ovrelAccent,
    .accentFill = rgb(0x1870B8),
    .accentHover = rgb(0x1B7AC7),
    .accentPress = rgb(0x145F9E),
    .accentText = rgb(0x72BCF5),
    .accentTint = rgb(0x15293D),
    .selection = rgb(0x1A3B5A),
    .selectionBorder = rgb(0x28598A),
    .success = rgb(0x4DC784),
    .danger = rgb(0xFF8078),
    .dangerTint = rgb(0x3A2022),
    .violet = rgb(0xBBA2F7),
    .violetTint = rgb(0x2C2446),
    .photoTile = rgb(0x272E37),
    .disabled = rgb(0x616C79),
    .disabledFill = rgb(0x242A32),
    .segmentSelectedDisabled = rgb(0x313943),
    .segmentSelected = rgb(0x3A4450),
    .track = rgb(0x4A5563),
    .scrollBar = rgb(0x454F5B),
    .toolTip = rgb(0x38424E),
    .toolTipText = rgb(0xF2F5F8),
    .knob = rgb(0xFFFFFF),
    .onAccent = rgb(0xFFFFFF),
};

Theme& currentTheme() {
    static Theme theme;
    return theme;
}

struct Type {
    double points;
    int weight;
};

Type typeOf(TextStyle style) {
    switch (style) {
    case TextStyle::overline: return {8.5, QFont::Bold};
    case TextStyle::caption: return {9, QFont::Normal};
    case TextStyle::figure: return {9, QFont::DemiBold};
    case TextStyle::body: return {10, QFont::Normal};
    case TextStyle::strong: return {10, QFont::Medium};
    case TextStyle::controlTitle: return {10, QFont::DemiBold};
    case TextStyle::section: return {12, QFont::Bold};
    case TextStyle::wordmark:
    case TextStyle::heading: return {14, QFont::Bold};
    case TextStyle::emptyHeading: return {16, QFont::Bold};
    case TextStyle::pageTitle: return {20, QFont::Bold};
    }
    return {10, QFont::Normal};
}

constexpr double usualPoints = 10;

/// Windows hear of another font as of another theme of the desktop, each for itself.
class DesktopFollower final : public QObject {
public:
    explicit DesktopFollower(QCoreApplication& application) : QObject(&application) {
        application.installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::ThemeChange && watched->isWindowType() && !std::exchange(awaits_, true)) {
            QMetaObject::invokeMethod(
                this,
                [this] {
                    awaits_ = false;
                    applyTheme(theme());
                },
                Qt::QueuedConnection);
        }
        return QObject::eventFilter(watched, event);
    }

private:
    bool awaits_ = false; ///< the other windows are told
};

void followDesktop() {
    static QPointer<DesktopFollower> follower;
    if (follower == nullptr) {
        follower = new DesktopFollower(*qApp);
    }
}

} // namespace

const Theme& theme() {
    return currentTheme();
}

const Colors& colors() {
    return colors(theme().scheme);
}

const Colors& colors(ColorScheme scheme) {
    return scheme == ColorScheme::dark ? darkColors : lightColors;
}

void applyTheme(const Theme& theme) {
    currentTheme() = theme;
    followDesktop();
    // Tool tips have a palette of their own in Qt.
    QPalette toolTip = paletteOf(theme.scheme);
    toolTip.setColor(QPalette::ToolTipBase, colors().toolTip);
    toolTip.setColor(QPalette::Window, colors().toolTip);
    QToolTip::setPalette(toolTip);
    QToolTip::setFont(fontOf(TextStyle::caption));
    QApplication::setFont(fontOf(TextStyle::body));
    // A view that is above this in the order of layers gets its fonts by name.
    QApplication::setFont(fontOf(TextStyle::heading), "ovrel::UpdateHeading");
    QApplication::setFont(fontOf(TextStyle::caption), "ovrel::BannerLabel");
    QApplication::setPalette(paletteOf(theme.scheme));
    // Qt fills the ground of each choice in the list of a combo box itself.
    QPalette menu = paletteOf(theme.scheme);
    menu.setColor(QPalette::Window, colors().surface);
    QApplication::setPalette(menu, "QMenu");
    // Of fonts and palettes Qt tells windows alone, and passes on only what a widget has not set itself.
    for (QWidget* const widget : QApplication::allWidgets()) {
        QEvent change(QEvent::StyleChange);
        QCoreApplication::sendEvent(widget, &change);
    }
}

QPalette paletteOf(ColorScheme scheme) {
    const Colors& of = colors(scheme);
    QPalette palette(of.text, of.surface, of.surface, of.border, of.controlBorder, of.text, of.text, of.surface,
                     of.window);
    palette.setColor(QPalette::AlternateBase, of.hover);
    palette.setColor(QPalette::Midlight, of.hover);
    palette.setColor(QPalette::Shadow, of.border);
    palette.setColor(QPalette::Highlight, of.accentFill);
    palette.setColor(QPalette::HighlightedText, of.onAccent);
    palette.setColor(QPalette::Link, of.accentText);
    palette.setColor(QPalette::LinkVisited, of.accentText);
    palette.setColor(QPalette::PlaceholderText, of.secondaryText);
    palette.setColor(QPalette::ToolTipBase, of.toolTip);
    palette.setColor(QPalette::ToolTipText, of.toolTipText);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, of.disabled);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, of.disabledFill);
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, of.disabled);
    return palette;
}

QFont fontOf(TextStyle style) {
    const auto [points, weight] = typeOf(style);
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPointSizeF(points * textFactor(font.pointSizeF()));
    font.setWeight(static_cast<QFont::Weight>(weight));
    if (style == TextStyle::overline)
        font.setLetterSpacing(QFont::PercentageSpacing, 105.5);
    return font;
}

// Desktops come with 9 to 11 points, for which everything is designed; whoever chose another size wants another size.
double textFactor(double systemPoints) {
    constexpr double leastUsual = 9;
    constexpr double mostUsual = 11;
    const bool isUsual = systemPoints <= 0 || (systemPoints >= leastUsual && systemPoints <= mostUsual);
    return isUsual ? 1.0 : systemPoints / usualPoints;
}

double textScale() {
    constexpr double usualPixels = usualPoints * 96 / 72; // at the usual resolution
    return QFontInfo(fontOf(TextStyle::body)).pixelSize() / usualPixels;
}

int besideText(int designed) {
    constexpr double most = 1.5; // beyond that they take more room than they are worth
    return qRound(designed * std::clamp(textScale(), 1.0, most));
}

int heightOf(int designed, const QFontMetrics& text) {
    constexpr int usualLine = 17; // pixels
    return designed + std::max(0, text.height() - usualLine);
}

} // namespace ovrel
