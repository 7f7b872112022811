#include "updates/engine/signature.h"

#include "updates/engine/base64.h"
#include "updates/engine/installation_error.h"

#include <sodium.h>

namespace ovrel {

namespace {

[[noreturn]] void refuse(const QString& russian, const QString& english) {
    throw installationError(UpdateError(SUError::signature, russian, english));
}

} // namespace

VerifiedArchive verifySignature(SealedArchive archive, const std::optional<QString>& signature, const PublicKey& key) {
    if (!signature) {
        refuse(QStringLiteral("Обновление не подписано издателем."),
               QStringLiteral("The update is not signed by its publisher."));
    }
    const auto bytes = fromStrictBase64<crypto_sign_BYTES>(*signature);
    if (!bytes) {
        refuse(QStringLiteral("Подпись обновления повреждена."), QStringLiteral("The update's signature is damaged."));
    }
    const std::span<const std::byte> content = archive.bytes();
    const bool valid =
        ::sodium_init() >= 0 && !content.empty() &&
        ::crypto_sign_verify_detached(bytes->data(), reinterpret_cast<const unsigned char*>(content.data()),
                                      content.size(), key.bytes().data()) == 0;
    if (!valid) {
        refuse(QStringLiteral("Подпись обновления не принадлежит издателю."),
               QStringLiteral("The update's signature is not the publisher's."));
    }
    return VerifiedArchive(std::move(archive));
}

} // namespace ovrel
