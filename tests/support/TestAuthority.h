#pragma once

#include "DevelopmentCertificates.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTemporaryDir>

#include <optional>

namespace pelorinnews::test {

/// A certificate authority made for one test and gone with it; while it lives, the process's
/// default TLS configuration trusts it, as a host would arrange. Needs pelorin_feedserver.
class TestAuthority {
public:
    TestAuthority() : original(QSslConfiguration::defaultConfiguration()) {
        QString whyNot;
        authority = DevelopmentCertificates::inFolder(folder.path(), &whyNot);
        if (!authority)
            qFatal("no test authority: %s", qPrintable(whyNot));
        QSslConfiguration trusting = original;
        trusting.addCaCertificates(authority->authorityFile(), QSsl::Pem);
        QSslConfiguration::setDefaultConfiguration(trusting);
    }
    ~TestAuthority() { QSslConfiguration::setDefaultConfiguration(original); }
    TestAuthority(const TestAuthority &) = delete;
    TestAuthority &operator=(const TestAuthority &) = delete;

    /// Where the authority is, for a server that is a program of its own.
    [[nodiscard]] QString path() const { return folder.path(); }

    /// A server certificate with its key; ends the test where it cannot be made.
    [[nodiscard]] DevelopmentCertificates::Files issue(DevelopmentCertificates::Kind kind) const {
        QString whyNot;
        const auto files = authority->issue(kind, &whyNot);
        if (!files)
            qFatal("no test certificate: %s", qPrintable(whyNot));
        return *files;
    }

private:
    QTemporaryDir folder;
    QSslConfiguration original;
    std::optional<DevelopmentCertificates> authority;
};

}  // namespace pelorinnews::test
