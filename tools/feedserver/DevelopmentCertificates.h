#pragma once

#include <QString>

#include <optional>

namespace pelorinnews {

/// A certificate authority for development and tests, in its own folder, created with the `openssl`
/// tool. Nothing trusts it by default: clients must be told to trust its certificate, `ca.pem` in
/// that folder.
class DevelopmentCertificates {
public:
    enum class Kind {
        Valid,      ///< For localhost and 127.0.0.1, from the authority.
        WrongName,  ///< For another host, from the authority.
        Expired,    ///< As `Valid`, but expired yesterday.
        SelfSigned  ///< For localhost and 127.0.0.1, self-signed.
    };
    /// PEM files.
    struct Files {
        QString certificate;
        QString privateKey;
    };

    /// The authority in `folder`, created there if there is none or if it expires within a day.
    /// Absent on failure; `whyNot`, if given, gets the reason.
    [[nodiscard]] static std::optional<DevelopmentCertificates> inFolder(const QString &folder,
                                                                         QString *whyNot = nullptr);

    /// The authority's own certificate.
    [[nodiscard]] QString authorityFile() const;

    /// Creates a new server certificate of `kind`, valid for ten days unless expired. Absent on
    /// failure; `whyNot`, if given, gets the reason.
    [[nodiscard]] std::optional<Files> issue(Kind kind, QString *whyNot = nullptr) const;

private:
    explicit DevelopmentCertificates(QString authorityFolder);

    QString _folder;
};

}  // namespace pelorinnews
