#pragma once

#include "pelorinnews/NotificationCenter.h"

#include <QString>

#include <cstddef>
#include <vector>

namespace pelorinnews {

/// One delivered notification as the registry keeps it.
struct RegistryEntry {
    UserNotification notification;
    /// The server id: the number that the notification server gave the notification.
    quint32 serverId = 0;
    /// The bus name of the connection that delivered it.
    QString sender;
    /// The notification is withdrawn, but the server has not confirmed that yet.
    bool withdrawn = false;
};

/// The contents of the registry: the notifications that are present on the server, and the bus and
/// server to which their server ids belong.
struct RegistryContents {
    /// At most this many entries are written or read; the oldest are dropped first. They are also
    /// dropped if the file would become too large.
    static constexpr std::size_t maxEntries = 200;

    /// Grows with each change: contents with a greater serial are newer.
    quint64 serial = 0;
    QString bus;
    QString server;
    std::vector<RegistryEntry> entries;
};

}  // namespace pelorinnews
