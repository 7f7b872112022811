#include "tests/desktop/fake_portal.h"

#include <QDBusError>
#include <QDBusVariant>

#include <utility>

namespace ovrel::test {

QVariant wrapped(const QVariant& value) {
    return QVariant::fromValue(QDBusVariant(value));
}

FakePortal::FakePortal(PrivateBus& bus, std::map<std::string, QVariant> settings, Version version, bool isLate)
    : settings_(std::move(settings)), service_(bus, QStringLiteral("org.freedesktop.portal.Desktop"), calls_) {
    service_.reply = [this, version](const QDBusMessage& call) { return reply(call, version); };
    if (!isLate) {
        thread_.start();
        service_.moveToThread(&thread_);
    }
}

FakePortal::~FakePortal() {
    thread_.quit();
    thread_.wait();
}

void FakePortal::change(const std::string& setting, const QVariant& value) {
    const QStringList words = QString::fromStdString(setting).split(QLatin1Char(' '));
    service_.tell(portalPath, portalSettings, QStringLiteral("SettingChanged"), {words.first(), words.last(), value});
}

QDBusMessage FakePortal::reply(const QDBusMessage& call, Version version) const {
    const bool isFormer = call.member() == QStringLiteral("Read");
    if (!isFormer && (version == Version::one || call.member() != QStringLiteral("ReadOne"))) {
        return call.createErrorReply(QDBusError::UnknownMethod, QStringLiteral("no such method"));
    }
    const QVariantList words = call.arguments();
    const auto found =
        settings_.find(words.first().toString().toStdString() + " " + words.last().toString().toStdString());
    if (found == settings_.end()) {
        return call.createErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                                     QStringLiteral("no such setting"));
    }
    return call.createReply(isFormer ? wrapped(wrapped(found->second)) : wrapped(found->second));
}

} // namespace ovrel::test
