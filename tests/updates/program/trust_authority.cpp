// Linked into the program itself, so that it trusts the authority in OVREL_PLAYED_AUTHORITY and asks no other server.

#include <QCoreApplication>
#include <QSslCertificate>
#include <QSslConfiguration>

namespace {

void trustAuthority() {
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(QSslCertificate::fromPath(qEnvironmentVariable("OVREL_PLAYED_AUTHORITY")));
    QSslConfiguration::setDefaultConfiguration(configuration);
}

Q_COREAPP_STARTUP_FUNCTION(trustAuthority)

} // namespace
