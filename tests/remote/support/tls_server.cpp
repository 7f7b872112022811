#include "tests/remote/support/tls_server.h"

#include <QHostAddress>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTimer>

#include <stdexcept>
#include <utility>

namespace ovrel::test {

namespace {

constexpr qint64 floodBytes = 65536; ///< that wait to be taken

QByteArray targetOf(const QByteArray& request) {
    const QByteArrayList words = request.left(request.indexOf("\r\n")).split(' ');
    return words.size() == 3 ? words[1] : QByteArray();
}

} // namespace

/// Owned by its socket.
class TlsServer::Connection final : public QObject {
public:
    Connection(TlsServer& server, QSslSocket& socket) : QObject(&socket), server_(server), socket_(socket) {
        ++server_.connections_;
        ++server_.openConnections_;
        connect(&socket_, &QSslSocket::readyRead, this, &Connection::read);
        connect(&socket_, &QSslSocket::encryptedBytesWritten, this, [this](qint64 bytes) {
            server_.bytesTaken_ += bytes;
            flood();
        });
        connect(&socket_, &QSslSocket::disconnected, &socket_, &QObject::deleteLater);
        connect(&pause_, &QTimer::timeout, this, &Connection::run);
        pause_.setSingleShot(true);
        read();
    }
    ~Connection() override { --server_.openConnections_; }

private:
    void read() {
        received_ += socket_.readAll();
        const qsizetype end = received_.indexOf("\r\n\r\n");
        if (end < 0 || busy_) {
            return;
        }
        const QByteArray request = received_.first(end + 4);
        received_ = received_.sliced(end + 4);
        server_.requests_.append(request);
        steps_ = server_.answers_.value(targetOf(request), Answer::of(404)).steps();
        next_ = 0;
        busy_ = true;
        run();
    }

    void run() {
        while (next_ < steps_.size()) {
            const Answer::Step& step = steps_[next_++];
            if (const auto* send = std::get_if<Answer::Send>(&step)) {
                socket_.write(send->bytes);
            } else if (const auto* wait = std::get_if<Answer::Wait>(&step)) {
                pause_.start(wait->time);
                return;
            } else if (const auto* flooding = std::get_if<Answer::Flood>(&step)) {
                flood_ = flooding->bytes;
                flood();
                return;
            } else if (const auto* call = std::get_if<Answer::Call>(&step)) {
                call->function();
            } else {
                socket_.disconnectFromHost();
                return;
            }
        }
        busy_ = false;
        read();
    }

    void flood() {
        while (!flood_.isEmpty() && socket_.isEncrypted() && socket_.state() == QAbstractSocket::ConnectedState &&
               socket_.bytesToWrite() + socket_.encryptedBytesToWrite() < floodBytes) {
            socket_.write(flood_);
        }
    }

    TlsServer& server_;
    QSslSocket& socket_;
    QByteArray received_;
    std::vector<Answer::Step> steps_;
    std::size_t next_ = 0;
    bool busy_ = false;
    QTimer pause_;
    QByteArray flood_;
};

TlsServer::TlsServer(const Identity& identity) {
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(identity.certificate);
    configuration.setPrivateKey(identity.key);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone); // of clients, who have none
    server_.setSslConfiguration(configuration);
    connect(&server_, &QTcpServer::pendingConnectionAvailable, this, &TlsServer::accept);
    if (!server_.listen(QHostAddress::LocalHost)) {
        throw std::runtime_error("no port for a TLS server");
    }
}

TlsServer::~TlsServer() {
    qDeleteAll(server_.findChildren<QSslSocket*>()); // their connections count here
}

QByteArrayList TlsServer::targets() const {
    QByteArrayList targets;
    for (const QByteArray& request : requests_) {
        targets.append(targetOf(request));
    }
    return targets;
}

void TlsServer::accept() {
    while (QTcpSocket* socket = server_.nextPendingConnection()) {
        new Connection(*this, *qobject_cast<QSslSocket*>(socket));
    }
}

} // namespace ovrel::test
