/// \file private_bus.h
/// A message bus of the test's own, on which the services of a desktop are played.
#pragma once

#include "tests/support/temporary_folder.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QString>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace ovrel::test {

/// A bus that starts no service by itself.
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// A connection of its own, which lives as long as the process.
    QDBusConnection connect();

    /// Answers nothing until it is resumed.
    void stop() const;
    void resume() const;

private:
    TemporaryFolder folder_;
    QProcess daemon_;
    QString address_;
};

/// What services were asked, as INTERFACE.MEMBER PATH [ARGUMENT]…
using BusCalls = std::vector<std::string>;

/// Plays every object of one service. The thread that made it answers when its event loop runs.
class FakeService : public QDBusVirtualObject {
public:
    /// \param calls outlives this
    FakeService(PrivateBus& bus, const QString& name, BusCalls& calls);
    ~FakeService() override;

    /// Makes the reply to a call; an empty one while it is not set.
    std::function<QDBusMessage(const QDBusMessage& call)> reply;

    bool waits = false; ///< keeps the replies until answer()
    void answer();

    /// Sends a signal to whoever listens, and returns when the bus has it: what comes after it arrives after it.
    void tell(const QString& path, const QString& interface, const QString& member, const QVariantList& arguments);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    QDBusConnection connection_;
    QString name_;
    BusCalls& calls_;
    std::vector<QDBusMessage> kept_;
};

/// Runs the event loop until all is told that was on its way to a connection.
void settle(const QDBusConnection& connection);

} // namespace ovrel::test
