#include "updates/engine/base64.h"

#include <QByteArray>

#include <sodium.h>

namespace ovrel {

bool decodeStrictBase64(QStringView text, std::span<std::uint8_t> bytes) {
    const QByteArray encoded = text.trimmed().toUtf8();
    std::size_t count = 0;
    const int failed =
        sodium_base642bin(bytes.data(), bytes.size(), encoded.constData(), static_cast<std::size_t>(encoded.size()),
                          nullptr, &count, nullptr, sodium_base64_VARIANT_ORIGINAL);
    return failed == 0 && count == bytes.size();
}

} // namespace ovrel
