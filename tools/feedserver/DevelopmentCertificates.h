#pragma once

#include <QString>

#include <optional>

namespace pelorinnews {

/// A certificate authority for development and tests in a folder of its own, made with the
/// `openssl` tool; nothing outside the folder trusts it unless told to. Its certificate is
/// `ca.pem` there, which clients are to trust.
class DevelopmentCertificates {
public:
    enum class Kind {
        Valid,      ///< For localhost and 127.0.0.1, from the authority.
        WrongName,  ///< For another host, from the authority.
        Expired,    ///< For localhost and 127.0.0.1, from the authority, ended yesterday.
        SelfSigned  ///< For localhost and 127.0.0.1, signed by itself.
    };
    /// PEM files.
    struct Files {
        QString certificate;
        QString privateKey;
    };

    /// The authority in `folder`, made there when there is none or it ends within a day. Absent
    /// when that fails; `whyNot`, where given, says why.
    [[nodiscard]] static std::optional<DevelopmentCertificates> inFolder(const QString &folder,
                                                                         QString *whyNot = nullptr);

    /// The authority's own certificate.
    [[nodiscard]] QString authorityFile() const;

    /// A server certificate of `kind`, made anew at each call, for ten days where it is valid.
    /// Absent when that fails; `whyNot`, where given, says why.
    [[nodiscard]] std::optional<Files> issue(Kind kind, QString *whyNot = nullptr) const;

private:
    explicit DevelopmentCertificates(QString authorityFolder);

    QString folder;
};

}  // namespace pelorinnews
