/// \file certificate_authority.h
/// Certificates for servers of tests.
#pragma once

#include <QSslCertificate>
#include <QSslKey>
#include <QString>
#include <QTemporaryDir>

namespace ovrel::test {

/// What a TLS server shows, and what proves that it may.
struct Identity {
    QSslCertificate certificate;
    QSslKey key;
};

enum class Validity { current, expired };

/// Issues certificates by the program openssl. A failure throws std::runtime_error.
class CertificateAuthority {
public:
    CertificateAuthority();

    /// Makes this authority the only one that this process trusts.
    void trust() const;

    /// A certificate of this authority for one host.
    Identity issue(const QString& host, Validity validity = Validity::current);

    /// A certificate for one host that only itself vouches for.
    Identity selfSigned(const QString& host);

private:
    QString file(const QString& name) const { return folder_.filePath(name); }
    QString configuration() const;
    Identity identity(const QString& name) const;

    QTemporaryDir folder_;
    QString authority_; ///< name of its files
    int issued_ = 0;
};

} // namespace ovrel::test
