/// \file theme.h
/// Colours, spacing and type of every window, in one place. Main thread.
#pragma once

#include "desktop/color_scheme.h"

#include <QColor>
#include <QFont>
#include <QFontMetrics>
#include <QPalette>

#include <cstdint>

namespace ovrel {

/// The colour of the program, the same in both themes.
inline const QColor ovrelAccent = QColor::fromRgbF(0.12F, 0.55F, 0.88F, 1.0F);

/// What the parts of a window are painted with. Text on its ground has a contrast of 4.5 to 1, controls and icons of
/// 3 to 1 (WCAG 2.2, 1.4.3 and 1.4.11), but for the disabled and decorative ones.
struct Colors {
    QColor window;                  ///< background
    QColor surface;                 ///< cards, header, footer
    QColor inset;                   ///< pills, track of segments, groove of progress
    QColor hover;                   ///< rows and buttons under the pointer
    QColor border;                  ///< decorative lines
    QColor controlBorder;           ///< buttons, menus, switched-off switch, chosen segment
    QColor text;                    ///< primary
    QColor secondaryText;           ///< secondary
    QColor accent;                  ///< slider, progress, focus, icon of the drop area
    QColor accentFill;              ///< primary button
    QColor accentHover;             ///< primary button under the pointer
    QColor accentPress;             ///< primary button held down
    QColor accentText;              ///< values, labels of tonal buttons
    QColor accentTint;              ///< output card, tonal buttons, drag-over
    QColor selection;               ///< selected row
    QColor selectionBorder;         ///< its outline
    QColor success;                 ///< icon of what is done
    QColor danger;                  ///< failures, Stop
    QColor dangerTint;              ///< Stop under the pointer
    QColor violet;                  ///< icon of animations
    QColor violetTint;              ///< its tile
    QColor photoTile;               ///< tile of still images
    QColor disabled;                ///< disabled text and icons
    QColor disabledFill;            ///< disabled buttons
    QColor segmentSelectedDisabled; ///< chosen segment of a disabled group
    QColor segmentSelected;         ///< chosen segment
    QColor track;                   ///< groove of sliders
    QColor scrollBar;               ///< handle of scroll bars
    QColor toolTip;                 ///< ground of tool tips
    QColor toolTipText;             ///< text on it
    QColor knob;                    ///< of switches and sliders
    QColor onAccent;                ///< text and icons on accentFill
};

/// Lengths in logical pixels.
namespace metrics {
inline constexpr int cardRadius = 12;
inline constexpr int folderRadius = 10;
inline constexpr int buttonRadius = 8;
inline constexpr int tileRadius = 7;
inline constexpr int focusWidth = 2;
inline constexpr int focusGap = 2;
inline constexpr int largeButton = 40;
inline constexpr int button = 34;
inline constexpr int smallButton = 32;
inline constexpr int smallIcon = 14;
inline constexpr int icon = 17;
inline constexpr int statusIcon = 20;
inline constexpr int tile = 30;
inline constexpr int row = 44;
inline constexpr int rowGap = 2;
inline constexpr int dialogPadding = 30;
} // namespace metrics

/// Durations in milliseconds; nothing moves where the desktop wants no animations.
namespace motion {
inline constexpr int hover = 100;
inline constexpr int drag = 150;
inline constexpr int progress = 120;
inline constexpr int spinnerTurn = 900;
} // namespace motion

/// The sizes and weights of text.
enum class TextStyle : std::uint8_t {
    overline,     ///< short headings in capitals
    caption,      ///< explanations
    figure,       ///< numbers and short facts
    body,         ///< running text
    strong,       ///< names of rows and buttons
    controlTitle, ///< names of settings
    section,      ///< headings of cards
    wordmark,     ///< the program's name
    emptyHeading, ///< of the empty list
    heading,      ///< of a dialog
    pageTitle,    ///< of a window of text
};

/// What every window is drawn with now.
struct Theme {
    ColorScheme scheme = ColorScheme::light;
    bool animations = true;

    friend bool operator==(const Theme&, const Theme&) = default;
};

/// The theme that applyTheme() set last.
const Theme& theme();

/// The colours of the present theme.
const Colors& colors();
const Colors& colors(ColorScheme scheme);

/// Takes on a theme: palettes and fonts of the application change, and every widget hears of it by a change event of
/// the type StyleChange; again whenever the desktop takes on a theme, which may bring another font. The program's style
/// has to be set before.
void applyTheme(const Theme& theme);

/// The palette that stands for a theme where Qt's own controls are drawn.
QPalette paletteOf(ColorScheme scheme);

/// A font of the system's family. Follows the system's size where that is unusual.
QFont fontOf(TextStyle style);

/// By how much text grows on a desktop whose own text has this size.
/// \param systemPoints not positive where nobody knows
double textFactor(double systemPoints);

/// By how much text is larger here than it is designed to be; 1 with text of the usual size and resolution.
double textScale();

/// The side of an icon, of its tile or of a spinner, which grow with the text beside them, to one and a half times at
/// most, and never shrink.
/// \param designed beside text of the usual size
int besideText(int designed);

/// A height that grows with the text in it.
/// \param designed with text of the usual size
int heightOf(int designed, const QFontMetrics& text);

} // namespace ovrel
