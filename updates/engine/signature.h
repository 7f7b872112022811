/// \file signature.h
/// Whether an archive is the publisher's.
#pragma once

#include "updates/engine/public_key.h"
#include "updates/engine/sealed_archive.h"

#include <QString>

#include <optional>

namespace ovrel {

/// An archive that the publisher has signed. Only verifySignature() makes one, so what takes it cannot be given bytes
/// that nobody looked at. Movable.
class VerifiedArchive {
public:
    std::span<const std::byte> bytes() const { return archive_.bytes(); }

private:
    friend VerifiedArchive verifySignature(SealedArchive archive, const std::optional<QString>& signature,
                                           const PublicKey& key);
    explicit VerifiedArchive(SealedArchive archive) : archive_(std::move(archive)) {}

    SealedArchive archive_;
};

/// Verifies the Ed25519 signature (RFC 8032, no prehash) over all bytes of the archive. Takes a third of a second for
/// 200 MB. Any thread.
/// \param signature standard base64 of 64 bytes as it stands in the feed; nothing when the feed has none
/// \throws UpdateError installation over signature, unless the signature is present, well formed and the key's own; an
///     empty archive is never signed
VerifiedArchive verifySignature(SealedArchive archive, const std::optional<QString>& signature, const PublicKey& key);

} // namespace ovrel
