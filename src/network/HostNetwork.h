#pragma once

#include <QByteArray>
#include <QUrl>

/// The network settings of the host and the system, as Qt knows them. May read files and query
/// system services: do not use on the main thread.
namespace pelorinnews::HostNetwork {

/// The certificate authorities of the process's default QSslConfiguration, as PEM. Empty if it
/// names none; the system's authorities then apply.
[[nodiscard]] QByteArray trustedAuthorities();

/// The proxy for `url` as a URL ("http://…", "socks5h://…", with user and password if there are
/// any), from the application's own setting, the system's, or the environment. Empty if there is
/// none.
[[nodiscard]] QByteArray proxyFor(const QUrl &url);

}  // namespace pelorinnews::HostNetwork
