/// \file banner_redirect_policy.h
/// Which addresses Ovrel downloads from.
#pragma once

#include <QString>
#include <QUrl>

namespace ovrel {

class BannerRedirectPolicy {
public:
    BannerRedirectPolicy() = delete;

    /// Whether `address` is one of the publisher's: exactly "https" and the publisher's host as they are written, no
    /// other port than 443, the path "/app" or one below it, neither user nor password. A path that leaves "/app" by
    /// dot segments, percent-encoded ones included, lies outside. Any thread.
    /// \param address as it was written, before QUrl has lowered, decoded or dropped anything of it
    static bool allowed(const QString& address);

    /// The same for an address that is a QUrl already and was not written by others.
    static bool allowed(const QUrl& address);
};

} // namespace ovrel
