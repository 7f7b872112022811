#include "tests/remote/support/connect_proxy.h"

#include <QHostAddress>
#include <QTcpSocket>

#include <sys/socket.h>

#include <stdexcept>

namespace ovrel::test {

namespace {

constexpr qint64 waitingBytes = 65536; ///< of each direction

void move(QTcpSocket& from, QTcpSocket& to) {
    while (from.bytesAvailable() > 0 && to.state() == QAbstractSocket::ConnectedState &&
           to.bytesToWrite() < waitingBytes) {
        to.write(from.read(waitingBytes));
    }
}

} // namespace

/// Owned by the client's socket.
class ConnectProxy::Tunnel final : public QObject {
public:
    Tunnel(ConnectProxy& proxy, QTcpSocket& client) : QObject(&client), proxy_(proxy), client_(client) {
        proxy_.tunnels_.append(this);
        client_.setReadBufferSize(waitingBytes);
        server_.setReadBufferSize(waitingBytes);
        server_.setProxy(QNetworkProxy::NoProxy);
        connect(&client_, &QTcpSocket::readyRead, this, &Tunnel::read);
        connect(&client_, &QTcpSocket::bytesWritten, this, &Tunnel::pass);
        connect(&client_, &QTcpSocket::disconnected, &client_, &QObject::deleteLater);
        connect(&server_, &QTcpSocket::connected, this, [this] {
            client_.write("HTTP/1.1 200 Connection established\r\n\r\n");
            pass();
        });
        connect(&server_, &QTcpSocket::readyRead, this, &Tunnel::pass);
        connect(&server_, &QTcpSocket::bytesWritten, this, &Tunnel::pass);
        connect(&server_, &QTcpSocket::disconnected, this, &Tunnel::pass);
        connect(&server_, &QTcpSocket::errorOccurred, this, &Tunnel::pass);
        read();
    }
    ~Tunnel() override {
        server_.disconnect(this); // it has more to say while it is destroyed
        proxy_.tunnels_.removeOne(this);
    }

    void reset() {
        const linger none{1, 0};
        ::setsockopt(static_cast<int>(client_.socketDescriptor()), SOL_SOCKET, SO_LINGER, &none, sizeof none);
        client_.abort();
    }

private:
    void read() {
        if (asked_) {
            pass();
            return;
        }
        request_ += client_.readAll();
        if (!request_.endsWith("\r\n\r\n")) {
            return;
        }
        asked_ = true;
        proxy_.requests_.append(request_);
        if (proxy_.refusal_) {
            client_.write(*proxy_.refusal_);
        } else {
            server_.connectToHost(QHostAddress::LocalHost, proxy_.port_);
        }
    }

    void pass() {
        move(client_, server_);
        move(server_, client_);
        if (asked_ && server_.state() == QAbstractSocket::UnconnectedState && server_.bytesAvailable() == 0) {
            client_.disconnectFromHost();
        }
    }

    ConnectProxy& proxy_;
    QTcpSocket& client_;
    QTcpSocket server_;
    QByteArray request_;
    bool asked_ = false;
};

ConnectProxy::ConnectProxy(quint16 port) : port_(port) {
    server_.setProxy(QNetworkProxy::NoProxy);
    connect(&server_, &QTcpServer::pendingConnectionAvailable, this, &ConnectProxy::accept);
    if (!server_.listen(QHostAddress::LocalHost)) {
        throw std::runtime_error("no port for a proxy");
    }
}

ConnectProxy::~ConnectProxy() {
    qDeleteAll(server_.findChildren<QTcpSocket*>()); // their tunnels count here
}

QNetworkProxy ConnectProxy::proxy() const {
    return {QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), server_.serverPort()};
}

void ConnectProxy::reset() {
    for (Tunnel* tunnel : QList(tunnels_)) {
        tunnel->reset();
    }
}

void ConnectProxy::accept() {
    while (QTcpSocket* client = server_.nextPendingConnection()) {
        new Tunnel(*this, *client);
    }
}

} // namespace ovrel::test
