/// \file public_key.h
/// The publisher's key: who may make an update.
#pragma once

#include <QStringView>

#include <array>
#include <cstdint>

namespace ovrel {

/// The public half of an Ed25519 key (RFC 8032). A value; any thread.
class PublicKey {
public:
    using Bytes = std::array<std::uint8_t, 32>;

    /// Whom a build believes. The key whose seed is in every textbook signs for tests, never for users.
    enum class Audience : std::uint8_t { developers, users };

    /// \param text standard base64 of the 32 bytes; white space around it is ignored
    /// \throws UpdateError insecure when `text` is empty or no key, or for users the key of the tests
    static PublicKey fromBase64(QStringView text, Audience audience);

    /// The key that this program was built with, OVREL_UPDATE_PUBLIC_KEY.
    /// \throws UpdateError insecure when it was built without one
    static PublicKey builtIn();

    const Bytes& bytes() const { return bytes_; }

private:
    explicit PublicKey(const Bytes& bytes) : bytes_(bytes) {}

    Bytes bytes_;
};

} // namespace ovrel
