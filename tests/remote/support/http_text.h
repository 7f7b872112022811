/// \file http_text.h
/// Parts of HTTP messages as they stand on the wire.
#pragma once

#include <QByteArray>

namespace ovrel::test {

/// The header field of a body that comes in chunks (RFC 9112, section 7.1).
inline const QByteArray chunked = "Transfer-Encoding: chunked\r\n";

/// One of them; an empty one is the last.
inline QByteArray chunk(const QByteArray& content) {
    return QByteArray::number(content.size(), 16) + "\r\n" + content + "\r\n";
}

/// The header field of a body's length.
inline QByteArray announced(qint64 length) {
    return "Content-Length: " + QByteArray::number(length) + "\r\n";
}

/// A body of this length.
inline QByteArray bytes(qint64 length) {
    return QByteArray(length, 'x');
}

} // namespace ovrel::test
