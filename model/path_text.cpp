#include "model/path_text.h"

#include <QByteArray>
#include <QStringDecoder>

#include <string>

namespace ovrel {

QString textOf(std::string_view bytes) {
    // A name may begin with a byte order mark, which belongs to it.
    QStringDecoder decoder(QStringConverter::Utf8,
                           QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
    return decoder.decode(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
}

QString textOf(const std::filesystem::path& path) {
    return textOf(std::string_view(path.native()));
}

std::filesystem::path pathOf(const QString& text) {
    return text.toStdString();
}

std::filesystem::path pathOf(const QUrl& file) {
    return QByteArray::fromPercentEncoding(file.path(QUrl::FullyEncoded).toLatin1()).toStdString();
}

QUrl urlOf(const std::filesystem::path& path) {
    return QUrl::fromEncoded("file://" + QByteArray::fromStdString(path.native()).toPercentEncoding("/"));
}

} // namespace ovrel
