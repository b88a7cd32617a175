#pragma once

#include <QByteArray>
#include <QUrl>

/// What the host and the system say about the network, as Qt knows it. May read files and ask
/// services of the system, so not on the main thread.
namespace pelorinnews::HostNetwork {

/// The authorities that the process's default TLS configuration names, PEM; empty where it leaves
/// them to the system.
[[nodiscard]] QByteArray trustedAuthorities();

/// The proxy for `url` as an address ("http://…", "socks5h://…", with user and password where there
/// are), from the application's own setting, the system's, or the environment. Empty: none.
[[nodiscard]] QByteArray proxyFor(const QUrl &url);

}  // namespace pelorinnews::HostNetwork
