#pragma once

#include <QByteArrayList>
#include <QSize>
#include <QUrl>

#include <optional>

namespace pelorinnews {

/// Limits of a device pixel ratio.
inline constexpr double minScale = 0.25;
inline constexpr double maxScale = 8;

/// The command-line arguments of the page process: everything that cannot change while it runs.
struct StartArguments {
    /// Process id of the host.
    qint32 host = 0;
    /// Device pixel ratio of the pages.
    double scale = 1;
    /// Size of the host's screen in device pixels.
    QSize screen{1920, 1080};
    /// Whether pages are told that the user prefers dark colours.
    bool prefersDark = false;
    /// "http://host:port" or "socks5://host:port". Empty: the environment and the desktop's
    /// settings decide.
    QUrl proxy;

    bool operator==(const StartArguments &) const = default;

    /// The arguments that follow the program's name.
    [[nodiscard]] QByteArrayList toArguments() const;

    /// Whether `proxy` can be given to a page process.
    [[nodiscard]] static bool isProxy(const QUrl &proxy);

    /// Nothing if the arguments are not those of `toArguments`, or a number is out of range.
    [[nodiscard]] static std::optional<StartArguments> parse(const QByteArrayList &arguments);
};

}  // namespace pelorinnews
