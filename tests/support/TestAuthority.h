#pragma once

#include "DevelopmentCertificates.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTemporaryDir>

#include <optional>

namespace pelorinnews::test {

/// A certificate authority made for one test and removed with it. During its lifetime the process's
/// default TLS configuration trusts it, as a host would arrange. Tests that use it must link
/// pelorin_feedserver.
class TestAuthority {
public:
    TestAuthority() : _original(QSslConfiguration::defaultConfiguration()) {
        QString whyNot;
        _authority = DevelopmentCertificates::inFolder(_folder.path(), &whyNot);
        if (!_authority)
            qFatal("cannot create the test authority: %s", qPrintable(whyNot));
        QSslConfiguration trusting = _original;
        trusting.addCaCertificates(_authority->authorityFile(), QSsl::Pem);
        QSslConfiguration::setDefaultConfiguration(trusting);
    }
    ~TestAuthority() { QSslConfiguration::setDefaultConfiguration(_original); }
    TestAuthority(const TestAuthority &) = delete;
    TestAuthority &operator=(const TestAuthority &) = delete;

    /// The authority's folder, for a server that is a separate program.
    [[nodiscard]] QString path() const { return _folder.path(); }

    /// A server certificate with its key; aborts the test on failure.
    [[nodiscard]] DevelopmentCertificates::Files issue(DevelopmentCertificates::Kind kind) const {
        QString whyNot;
        const auto files = _authority->issue(kind, &whyNot);
        if (!files)
            qFatal("cannot issue a test certificate: %s", qPrintable(whyNot));
        return *files;
    }

private:
    QTemporaryDir _folder;
    QSslConfiguration _original;
    std::optional<DevelopmentCertificates> _authority;
};

}  // namespace pelorinnews::test
