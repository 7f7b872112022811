// Draws an SVG icon in each of the sizes that desktops ask for, at build time.
//
//   draw-icons ICON.svg FOLDER SIZE…
//
// Writes FOLDER/SIZE.png, SIZE pixels wide and high.

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

namespace {

QImage drawn(QSvgRenderer& icon, int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    icon.render(&painter, QRectF(0, 0, size, size));
    return image;
}

} // namespace

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() < 4) {
        std::fputs("usage: draw-icons ICON.svg FOLDER SIZE...\n", stderr);
        return 2;
    }
    QSvgRenderer icon(arguments.at(1));
    if (!icon.isValid()) {
        std::fprintf(stderr, "%s cannot be read as SVG.\n", qUtf8Printable(arguments.at(1)));
        return 1;
    }
    for (const QString& size : arguments.mid(3)) {
        const QString path = arguments.at(2) + QLatin1Char('/') + size + QStringLiteral(".png");
        if (size.toInt() <= 0 || !drawn(icon, size.toInt()).save(path, "PNG")) {
            std::fprintf(stderr, "%s cannot be written.\n", qUtf8Printable(path));
            return 1;
        }
    }
    return 0;
}
