#include "tests/desktop/private_bus.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusVariant>
#include <QVariantMap>

#include <gmock/gmock.h>

#include <utility>

#include <signal.h>

namespace ovrel::test {

namespace {

std::string describe(const QVariant& argument) {
    if (argument.userType() == qMetaTypeId<QDBusArgument>()) {
        std::string text;
        const QVariantMap options = qdbus_cast<QVariantMap>(argument);
        for (auto option = options.begin(); option != options.end(); ++option) {
            text += text.empty() ? "" : " ";
            text += option.key().toStdString() + "=" + describe(option.value());
        }
        return text;
    }
    if (argument.userType() == QMetaType::QStringList) {
        return argument.toStringList().join(QLatin1Char(' ')).toStdString();
    }
    return argument.toString().toStdString();
}

std::string describe(const QDBusMessage& call) {
    std::string text =
        call.interface().toStdString() + "." + call.member().toStdString() + " " + call.path().toStdString();
    for (const QVariant& argument : call.arguments()) {
        text += " [" + describe(argument) + "]";
    }
    return text;
}

/// Something that the bus answers at once.
QDBusMessage anyCall() {
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
                                          QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId"));
}

} // namespace

PrivateBus::PrivateBus() {
    const std::string configuration =
        folder_.write("bus.conf", "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
                                  "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">"
                                  "<busconfig><type>session</type><listen>unix:dir=" +
                                      folder_.path().native() +
                                      "</listen><policy context=\"default\"><allow send_destination=\"*\"/><allow "
                                      "own=\"*\"/><allow receive_sender=\"*\"/>"
                                      "</policy></busconfig>");
    daemon_.start(QStringLiteral("dbus-daemon"),
                  {QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                   QStringLiteral("--config-file=") + QString::fromStdString(configuration)});
    while (daemon_.state() != QProcess::NotRunning && !daemon_.canReadLine()) {
        daemon_.waitForReadyRead(100);
    }
    address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
}

PrivateBus::~PrivateBus() {
    daemon_.kill();
    daemon_.waitForFinished();
}

QDBusConnection PrivateBus::connect() {
    static int connections = 0;
    QDBusConnection connection = QDBusConnection::connectToBus(address_, QStringLiteral("test %1").arg(++connections));
    EXPECT_TRUE(connection.isConnected());
    return connection;
}

void PrivateBus::stop() const {
    ::kill(static_cast<pid_t>(daemon_.processId()), SIGSTOP);
}

void PrivateBus::resume() const {
    ::kill(static_cast<pid_t>(daemon_.processId()), SIGCONT);
}

FakeService::FakeService(PrivateBus& bus, const QString& name, BusCalls& calls)
    : connection_(bus.connect()), name_(name), calls_(calls) {
    EXPECT_TRUE(connection_.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath));
    EXPECT_TRUE(connection_.registerService(name)) << name.toStdString();
}

FakeService::~FakeService() {
    connection_.unregisterService(name_);
    connection_.unregisterObject(QStringLiteral("/"), QDBusConnection::UnregisterTree);
}

void FakeService::answer() {
    for (const QDBusMessage& kept : std::exchange(kept_, {})) {
        connection_.send(kept);
    }
}

void FakeService::tell(const QString& path, const QString& interface, const QString& member,
                       const QVariantList& arguments) {
    QDBusMessage signal = QDBusMessage::createSignal(path, interface, member);
    signal.setArguments(arguments);
    connection_.send(signal);
    connection_.call(anyCall());
}

QString FakeService::introspect(const QString& /*path*/) const {
    return {};
}

bool FakeService::handleMessage(const QDBusMessage& message, const QDBusConnection& /*connection*/) {
    calls_.push_back(describe(message));
    kept_.push_back(reply ? reply(message) : message.createReply());
    if (!waits) {
        answer();
    }
    return true;
}

void settle(const QDBusConnection& connection) {
    // Every message that was on its way has come by the end of a call that came after it.
    for (int round = 0; round < 8; ++round) {
        connection.call(anyCall());
        QCoreApplication::processEvents();
    }
}

} // namespace ovrel::test
