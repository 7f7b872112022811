/// \file icon_search.h
/// Finds an icon in a picture of a window.
#pragma once

#include "ui/icons.h"

#include <QColor>
#include <QImage>

namespace ovrel::test {

/// An icon as it is drawn on a ground of one color.
/// \param size in pixels
QImage iconOn(const QColor& ground, Icon icon, int size, const QColor& color);

/// Whether a picture holds another one anywhere, pixel by pixel.
bool isPartOf(const QImage& picture, const QImage& part);

} // namespace ovrel::test
