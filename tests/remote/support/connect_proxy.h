/// \file connect_proxy.h
/// An HTTP proxy on loopback that leads every host to one server of a test (RFC 9110, section 9.3.6).
#pragma once

#include <QByteArray>
#include <QList>
#include <QNetworkProxy>
#include <QObject>
#include <QTcpServer>

#include <optional>

namespace ovrel::test {

/// Lives on one thread and its event loop.
class ConnectProxy final : public QObject {
    Q_DISABLE_COPY_MOVE(ConnectProxy)

public:
    /// \param port on loopback, where all tunnels end
    explicit ConnectProxy(quint16 port);
    ~ConnectProxy() override;

    /// As what it is made known: QNetworkProxy::setApplicationProxy.
    QNetworkProxy proxy() const;

    /// Where further tunnels end.
    void leadTo(quint16 port) { port_ = port; }
    /// Answers further requests with this instead of a tunnel; with nothing at all when it is empty.
    void refuseWith(const QByteArray& answer) { refusal_ = answer; }

    /// The heads of all requests, as they came.
    const QList<QByteArray>& requests() const { return requests_; }
    /// Connections of clients.
    qsizetype openConnections() const { return tunnels_.size(); }

    /// Ends all connections by a TCP reset (RFC 9293, section 3.10.5).
    void reset();

private:
    class Tunnel;

    void accept();

    QTcpServer server_;
    quint16 port_;
    std::optional<QByteArray> refusal_;
    QList<QByteArray> requests_;
    QList<Tunnel*> tunnels_; ///< owned by their clients' sockets
};

} // namespace ovrel::test
