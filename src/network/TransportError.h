#pragma once

#include "pelorinnews/Error.h"

#include <QString>

namespace pelorinnews {

/// Why a transfer failed. The numbers are the codes of its `Error`, so they never change.
enum class TransportError {
    Cancelled = 1,    ///< The loader was stopped, or there is no application object.
    TimedOut = 2,     ///< No progress for too long, or not complete in time.
    BadAddress = 3,   ///< Malformed, or of another scheme than HTTP, HTTPS and `file:`.
    Unreachable = 4,  ///< The host or proxy is unknown or refuses the connection.
    Insecure = 5,     ///< The TLS handshake failed, or the certificate is not trusted.
    BadRedirect = 6,  ///< Too many redirects, or one to a forbidden address.
    Incomplete = 7,   ///< The connection ended before the reply was complete.
    Malformed = 8,    ///< The reply breaks the protocol or the coding of its body.
    TooLong = 9,      ///< The body or the header fields exceed their limit.
    Other = 10        ///< None of these; the description says what.
};

[[nodiscard]] inline QString transportErrorDomain() {
    return QStringLiteral("com.Olvane.PelorinNews.Transport.ErrorDomain");
}

/// `description` is one line for logs. It may quote anything from the network: control characters
/// become blanks.
[[nodiscard]] Error transportError(TransportError code, const QString &description);

}  // namespace pelorinnews
