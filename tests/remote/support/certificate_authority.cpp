#include "tests/remote/support/certificate_authority.h"

#include <QFile>
#include <QProcess>
#include <QSslConfiguration>
#include <QStringList>

#include <stdexcept>

namespace ovrel::test {

namespace {

void openssl(const QStringList& arguments) {
    QProcess program;
    program.start(QStringLiteral("openssl"), arguments);
    if (!program.waitForFinished() || program.exitStatus() != QProcess::NormalExit || program.exitCode() != 0) {
        throw std::runtime_error("openssl " + arguments.join(u' ').toStdString() + ": " +
                                 program.errorString().toStdString() + "\n" +
                                 program.readAllStandardError().toStdString());
    }
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("no file " + path.toStdString());
    }
    return file.readAll();
}

void write(const QString& path, const QByteArray& content) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        throw std::runtime_error("cannot write " + path.toStdString());
    }
}

void makeKey(const QString& path) {
    openssl({"ecparam", "-name", "prime256v1", "-genkey", "-noout", "-out", path});
}

void makeSelfSigned(const QString& key, const QString& certificate, const QString& name, const QStringList& extra) {
    openssl(
        QStringList{"req", "-x509", "-new", "-key", key, "-subj", "/CN=" + name, "-days", "2", "-out", certificate} +
        extra);
}

QString alternativeName(const QString& host) {
    return "subjectAltName=DNS:" + host;
}

} // namespace

/// What the program for authorities has to know to sign with chosen dates; others give no date in the past.
QString CertificateAuthority::configuration() const {
    const QString path = file(QStringLiteral("authority.cnf"));
    if (!QFile::exists(path)) {
        const QString text = QStringLiteral("[ca]\ndefault_ca = own\n"
                                            "[own]\nnew_certs_dir = %1\ndatabase = %1/index.txt\nrand_serial = yes\n"
                                            "unique_subject = no\ndefault_md = sha256\npolicy = any\n"
                                            "copy_extensions = copy\ncertificate = %1/authority.pem\n"
                                            "private_key = %1/authority.key\n"
                                            "[any]\ncommonName = supplied\n")
                                 .arg(folder_.path());
        write(path, text.toUtf8());
        write(file(QStringLiteral("index.txt")), {});
    }
    return path;
}

CertificateAuthority::CertificateAuthority() : authority_(QStringLiteral("authority")) {
    makeKey(file(authority_ + ".key"));
    makeSelfSigned(file(authority_ + ".key"), file(authority_ + ".pem"), QStringLiteral("Authority of a test"), {});
}

void CertificateAuthority::trust() const {
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates({identity(authority_).certificate});
    QSslConfiguration::setDefaultConfiguration(configuration);
}

Identity CertificateAuthority::issue(const QString& host, Validity validity) {
    const QString name = QString::number(++issued_);
    makeKey(file(name + ".key"));
    openssl({"req", "-new", "-key", file(name + ".key"), "-subj", "/CN=" + host, "-addext", alternativeName(host),
             "-out", file(name + ".csr")});
    const QString year = validity == Validity::current ? QStringLiteral("2049") : QStringLiteral("2021");
    openssl({"ca", "-batch", "-notext", "-config", configuration(), "-in", file(name + ".csr"), "-startdate",
             "20200101000000Z", "-enddate", year + "0101000000Z", "-out", file(name + ".pem")});
    return identity(name);
}

Identity CertificateAuthority::selfSigned(const QString& host) {
    const QString name = QString::number(++issued_);
    makeKey(file(name + ".key"));
    makeSelfSigned(file(name + ".key"), file(name + ".pem"), host, {"-addext", alternativeName(host)});
    return identity(name);
}

Identity CertificateAuthority::identity(const QString& name) const {
    return {QSslCertificate(contentOf(file(name + ".pem"))), QSslKey(contentOf(file(name + ".key")), QSsl::Ec)};
}

} // namespace ovrel::test
