#include "updates/engine/public_key.h"

#include "updates/engine/base64.h"
#include "updates/framework/update_error.h"

namespace ovrel {

namespace {

/// The public key of the seed 00 01 02 … 1f, which everybody has.
constexpr PublicKey::Bytes testKey{0x03, 0xa1, 0x07, 0xbf, 0xf3, 0xce, 0x10, 0xbe, 0x1d, 0x70, 0xdd,
                                   0x18, 0xe7, 0x4b, 0xc0, 0x99, 0x67, 0xe4, 0xd6, 0x30, 0x9b, 0xa5,
                                   0x0d, 0x5f, 0x1d, 0xdc, 0x86, 0x64, 0x12, 0x55, 0x31, 0xb8};

#ifdef OVREL_RELEASE
constexpr PublicKey::Audience builtFor = PublicKey::Audience::users;
#else
constexpr PublicKey::Audience builtFor = PublicKey::Audience::developers;
#endif

} // namespace

PublicKey PublicKey::fromBase64(QStringView text, Audience audience) {
    if (text.trimmed().isEmpty()) {
        throw UpdateError(SUError::insecure,
                          QStringLiteral("Эта сборка не умеет обновляться: в ней нет ключа издателя."),
                          QStringLiteral("This build cannot update itself: it has no publisher's key."));
    }
    const std::optional<Bytes> bytes = fromStrictBase64<std::tuple_size_v<Bytes>>(text);
    if (!bytes || (audience == Audience::users && *bytes == testKey)) {
        throw UpdateError(SUError::insecure,
                          QStringLiteral("Эта сборка не умеет обновляться: её ключ издателя непригоден."),
                          QStringLiteral("This build cannot update itself: its publisher's key is unusable."));
    }
    return PublicKey(*bytes);
}

PublicKey PublicKey::builtIn() {
    return fromBase64(QStringLiteral(OVREL_UPDATE_PUBLIC_KEY), builtFor);
}

} // namespace ovrel
