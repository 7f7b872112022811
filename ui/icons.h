/// \file icons.h
/// The program's icons, drawn in the colours of the theme and sharp at every scale. Main thread.
#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QRectF>

#include <cstdint>

class QPainter;

namespace ovrel {

enum class Icon : std::uint8_t {
    none,
    arrowRight,
    checkCircle,
    check,
    chevronDown,
    chevronRight,
    exclamationCircle,
    folderFilled,
    folderPlus,
    folder,
    globe,
    infoCircle,
    lockShield,
    photoBadgePlus,
    photoStack,
    photo,
    playRectangle,
    plus,
    sparkles,
    spinner,
    stop,
    trash,
    twoDocuments,
};

/// Fills a square with an icon of one colour. An icon that points along the text is mirrored where text runs from right
/// to left.
void drawIcon(QPainter& painter, Icon icon, const QRectF& where, const QColor& color);

/// The icon for menus and tool tips: in the colour of text, and of disabled text where it is disabled. Takes the
/// colours of the theme at the time when it is drawn.
QIcon themeIcon(Icon icon);

/// The icon as a picture.
/// \param size in logical pixels
QPixmap themePixmap(Icon icon, int size, const QColor& color, double devicePixelRatio);

/// The program's own icon, in its own colours.
void drawApplicationIcon(QPainter& painter, const QRectF& where);
/// The same in the sizes that desktops ask for.
QIcon applicationIcon();

} // namespace ovrel
