#pragma once

#include "DevelopmentCertificates.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTemporaryDir>

#include <optional>

namespace pelorinnews::test {

/// A certificate authority made for one test and removed with it. During its lifetime the process's
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

    /// The authority's folder, for a server that is a separate program.
    [[nodiscard]] QString path() const { return folder.path(); }

    /// A server certificate with its key; aborts the test on failure.
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
