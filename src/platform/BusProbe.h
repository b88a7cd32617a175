#pragma once

#include <QString>

#include <chrono>

namespace pelorinnews {

/// How long a message bus may take to answer: as long as libdbus waits for a reply.
inline constexpr std::chrono::milliseconds busPatience{25'000};

/// Whether the message bus at `address` answers; an empty address is that of the session bus.
/// Blocks until it does, at most `timeout`. Thread-safe, but not for the main thread.
///
/// To be asked before `QDBusConnection::connectToBus`: Qt 6.4 connects on a thread that all
/// connections of the process share, without a timeout. On a bus that hangs, that thread blocks for
/// ever, and then the process cannot end.
///
/// False also if nothing listens there. True for an address that is not a socket of this computer:
/// it is not asked.
[[nodiscard]] bool busAnswers(const QString &address = {},
                              std::chrono::milliseconds timeout = busPatience);

}  // namespace pelorinnews
