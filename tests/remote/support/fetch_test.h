/// \file fetch_test.h
/// The publisher's server as tests have it, and the way there.
#pragma once

#include "remote/banner_network.h"
#include "tests/remote/support/certificate_authority.h"
#include "tests/remote/support/connect_proxy.h"
#include "tests/remote/support/outcome.h"
#include "tests/remote/support/tls_server.h"

#include <gtest/gtest.h>

#include <chrono>

namespace ovrel::test {

/// The authority that this process trusts; made when it is first asked for.
CertificateAuthority& authority();

/// A certificate of this authority for the publisher's host.
const Identity& publisher();

/// An address of the publisher's host.
QUrl addressOf(const QByteArray& target);

/// How many threads of Qt's network this process has. Each running download has one.
int networkThreads();

/// Whether these threads end although no event loop turns. Gives those that have nothing more to do up to ten seconds.
bool networkThreadsEnd();

/// Limits that no test reaches, but for those that are given.
BannerNetwork::Limits limitedTo(std::chrono::milliseconds silence, std::chrono::milliseconds whole);
inline constexpr std::chrono::hours never{1};

/// A server that is the publisher's for this process: all connections go through a proxy that leads there.
class FetchTest : public testing::Test {
public:
    ~FetchTest() override;

protected:
    FetchTest();

    /// Waits for a download, nothing of which may be left then.
    Outcome fetched(const QByteArray& target, qint64 limitBytes = 16384, std::stop_token stop = {},
                    BannerNetwork::Limits limits = limitedTo(never, never));

    TlsServer server_{publisher()};
    ConnectProxy proxy_{server_.port()};
};

} // namespace ovrel::test
