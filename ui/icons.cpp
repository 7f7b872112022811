#include "ui/icons.h"

#include "ui/theme.h"

#include <QGuiApplication>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <cmath>

namespace ovrel {

namespace {

QString nameOf(Icon icon) {
    switch (icon) {
    case Icon::none: return {};
    case Icon::arrowRight: return QStringLiteral("arrow-right");
    case Icon::checkCircle: return QStringLiteral("check-circle-filled");
    case Icon::check: return QStringLiteral("check");
    case Icon::chevronDown: return QStringLiteral("chevron-down");
    case Icon::chevronRight: return QStringLiteral("chevron-right");
    case Icon::exclamationCircle: return QStringLiteral("exclamation-circle-filled");
    case Icon::folderFilled: return QStringLiteral("folder-filled");
    case Icon::folderPlus: return QStringLiteral("folder-plus");
    case Icon::folder: return QStringLiteral("folder");
    case Icon::globe: return QStringLiteral("globe");
    case Icon::infoCircle: return QStringLiteral("info-circle");
    case Icon::lockShield: return QStringLiteral("lock-shield");
    case Icon::photoBadgePlus: return QStringLiteral("photo-badge-plus");
    case Icon::photoStack: return QStringLiteral("photo-stack");
    case Icon::photo: return QStringLiteral("photo");
    case Icon::playRectangle: return QStringLiteral("play-rectangle");
    case Icon::plus: return QStringLiteral("plus");
    case Icon::sparkles: return QStringLiteral("sparkles");
    case Icon::spinner: return QStringLiteral("spinner");
    case Icon::stop: return QStringLiteral("stop");
    case Icon::trash: return QStringLiteral("trash");
    case Icon::twoDocuments: return QStringLiteral("two-documents");
    }
    return {};
}

QString fileOf(const QString& name) {
    return QStringLiteral(":/ovrel/icons/%1.svg").arg(name);
}

bool pointsAlongText(Icon icon) {
    return icon == Icon::arrowRight || icon == Icon::chevronRight;
}

/// A picture of so many device pixels in one colour.
QPixmap render(Icon icon, int pixels, const QColor& color, bool mirrored) {
    const QString key = QStringLiteral("ovrel-icon %1 %2 %3 %4")
                            .arg(static_cast<int>(icon))
                            .arg(pixels)
                            .arg(color.rgba())
                            .arg(mirrored ? 1 : 0);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;

    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        QSvgRenderer(fileOf(nameOf(icon))).render(&painter);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), color);
    }
    pixmap = QPixmap::fromImage(mirrored ? image.mirrored(true, false) : image);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

/// Draws anew for each size, so that it needs no plug-in of Qt.
class PaintedIcon final : public QIconEngine {
public:
    using Paint = void (*)(QPainter& painter, Icon icon, const QRectF& where, QIcon::Mode mode);

    PaintedIcon(Icon icon, Paint how) : icon_(icon), paint_(how) {}

    void paint(QPainter* painter, const QRect& where, QIcon::Mode mode, QIcon::State /*state*/) override {
        paint_(*painter, icon_, where, mode);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QIconEngine* clone() const override { return new PaintedIcon(icon_, paint_); }

private:
    Icon icon_;
    Paint paint_;
};

} // namespace

void drawIcon(QPainter& painter, Icon icon, const QRectF& where, const QColor& color) {
    if (icon == Icon::none || where.isEmpty())
        return;
    // Of the painter and not of its device, which may be a widget that is drawn into a picture.
    const double scale = std::sqrt(std::abs(painter.deviceTransform().determinant()));
    const bool mirrored = pointsAlongText(icon) && QGuiApplication::isRightToLeft();
    const QPixmap picture = render(icon, qRound(where.width() * scale), color, mirrored);
    const QTransform& toDevice = painter.deviceTransform();
    QRectF target = where;
    if (toDevice.type() <= QTransform::TxScale) {
        // Its pixels are those of the screen, also where a length of the design is none of whole pixels.
        const QPointF corner = toDevice.mapRect(where).topLeft();
        target = toDevice.inverted().mapRect(QRectF(QPointF(corner.toPoint()), QSizeF(picture.size())));
    }
    painter.save();
    // A turned icon is drawn larger than it appears, so that it is smooth.
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(target, picture, QRectF());
    painter.restore();
}

QIcon themeIcon(Icon icon) {
    if (icon == Icon::none)
        return {};
    return QIcon(new PaintedIcon(icon, [](QPainter& painter, Icon which, const QRectF& where, QIcon::Mode mode) {
        drawIcon(painter, which, where, mode == QIcon::Disabled ? colors().disabled : colors().text);
    }));
}

QPixmap themePixmap(Icon icon, int size, const QColor& color, double devicePixelRatio) {
    QPixmap pixmap = render(icon, qRound(size * devicePixelRatio), color, false);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

void drawApplicationIcon(QPainter& painter, const QRectF& where) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QSvgRenderer(fileOf(QStringLiteral("ovrel"))).render(&painter, where);
    painter.restore();
}

QIcon applicationIcon() {
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        drawApplicationIcon(painter, QRectF(0, 0, size, size));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace ovrel
