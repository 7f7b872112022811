#include "tests/ui/icon_search.h"

#include <QPainter>

#include <algorithm>

namespace ovrel::test {

namespace {

/// \param part of 32 bits a pixel, as the picture
bool standsAt(const QImage& picture, const QImage& part, QPoint where) {
    const auto rowIsSame = [&](int y) {
        const auto* const row = reinterpret_cast<const QRgb*>(picture.constScanLine(where.y() + y)) + where.x();
        return std::equal(row, row + part.width(), reinterpret_cast<const QRgb*>(part.constScanLine(y)));
    };
    // Most of a window is empty, and so are the edges of an icon.
    if (!rowIsSame(part.height() / 2)) {
        return false;
    }
    for (int y = 0; y < part.height(); ++y) {
        if (!rowIsSame(y)) {
            return false;
        }
    }
    return true;
}

} // namespace

QImage iconOn(const QColor& ground, Icon icon, int size, const QColor& color) {
    QImage image(size, size, QImage::Format_RGB32);
    image.fill(ground);
    QPainter painter(&image);
    drawIcon(painter, icon, QRectF(image.rect()), color);
    return image;
}

bool isPartOf(const QImage& picture, const QImage& part) {
    const QImage searched = picture.convertToFormat(QImage::Format_RGB32);
    const QImage sought = part.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y + sought.height() <= searched.height(); ++y) {
        for (int x = 0; x + sought.width() <= searched.width(); ++x) {
            if (standsAt(searched, sought, {x, y})) {
                return true;
            }
        }
    }
    return false;
}

} // namespace ovrel::test
