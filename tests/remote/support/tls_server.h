/// \file tls_server.h
/// An HTTP server on loopback, behind TLS, that answers as it is told.
#pragma once

#include "tests/remote/support/answer.h"
#include "tests/remote/support/certificate_authority.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSslServer>

namespace ovrel::test {

/// Lives on one thread and its event loop.
class TlsServer final : public QObject {
    Q_DISABLE_COPY_MOVE(TlsServer)

public:
    explicit TlsServer(const Identity& identity);
    ~TlsServer() override;

    quint16 port() const { return server_.serverPort(); }

    /// What a request for this target (RFC 9112, section 3.2) gets, each time. Without one it is status 404.
    void answer(const QByteArray& target, const Answer& answer) { answers_.insert(target, answer); }

    /// The heads of all requests, as they came.
    const QList<QByteArray>& requests() const { return requests_; }
    /// Their targets.
    QByteArrayList targets() const;

    int connections() const { return connections_; }         ///< all that there were
    int openConnections() const { return openConnections_; } ///< handshakes that are done
    qint64 bytesTaken() const { return bytesTaken_; }        ///< of answers, by the system

private:
    class Connection;

    void accept();

    QSslServer server_;
    QHash<QByteArray, Answer> answers_;
    QList<QByteArray> requests_;
    int connections_ = 0;
    int openConnections_ = 0;
    qint64 bytesTaken_ = 0;
};

} // namespace ovrel::test
