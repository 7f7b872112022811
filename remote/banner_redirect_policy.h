/// \file banner_redirect_policy.h
/// Which addresses Ovrel downloads from.
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

namespace ovrel {

class BannerRedirectPolicy {
public:
    BannerRedirectPolicy() = delete;

    /// Whether `address` is one of the publisher's: exactly "https" and the publisher's host as they are written, no
    /// other port than 443, the path "/app" or one below it, neither user nor password; QUrl parses it strictly. A path
    /// that leaves "/app" by dot segments, percent-encoded ones included, lies outside even when it comes back. The
    /// folder itself is never encoded: "/app%2Fx" lies outside, and so does "/%61pp/x". Any thread.
    /// \param address as it was written, before QUrl has lowered, decoded or dropped anything of it
    static bool allowed(const QString& address);

    /// The same for an address that is a QUrl already. QUrl lowers scheme and host, so what others wrote is judged as
    /// text first.
    static bool allowed(const QUrl& address);

    /// Where a redirect leads (RFC 9110, section 10.2.2). Judged before any dot segment is removed.
    /// \param from an allowed address
    /// \param location the header field's value
    /// \return nothing for an address that is not allowed, or none at all
    static std::optional<QUrl> redirected(const QUrl& from, const QByteArray& location);
};

} // namespace ovrel
