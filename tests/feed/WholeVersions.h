#pragma once

#include "feed/LocalCacheFile.h"
#include "notifications/NotificationRegistry.h"
#include "settings/UserDefaults.h"

#include <QByteArray>
#include <QString>

namespace pelorinnews::test {

// Numbered versions of the files that the module writes. No part of one version fits another, so a
// mixture is noticed.

constexpr int versions = 26;
constexpr int keys = 20;

inline QString cachePath(const QString &folder) {
    return folder + QStringLiteral("/cache");
}

inline QString preferencesPath(const QString &folder) {
    return folder + QStringLiteral("/preferences.conf");
}

/// The text of a cache file: one letter, again and again, more often with each version.
inline QByteArray cacheText(int version) {
    return QByteArray(100'000 + version % versions, static_cast<char>('a' + version % versions));
}

[[nodiscard]] inline bool writeCache(const QString &folder, int version) {
    Error error;
    return LocalCacheFile(cachePath(folder)).write(cacheText(version), &error).has_value();
}

/// Puts `keys` entries, all with the version as their title.
[[nodiscard]] inline bool writeRegistry(const QString &folder, int version) {
    RegistryChange change{QStringLiteral("bus"), QStringLiteral("server"), 0, {}, {}};
    for (int i = 0; i < keys; ++i) {
        RegistryEntry entry;
        entry.notification.identity = QString::number(i);
        entry.notification.title = QString::number(version);
        entry.serverId = static_cast<quint32>(i + 1);
        change.put.push_back(entry);
    }
    // Blocked for a while, it fails like any file that another process holds.
    const NotificationRegistry registry(folder);
    return registry.apply(change).has_value() || registry.apply(change).has_value();
}

inline QString preferenceKey(int number) {
    return QStringLiteral("key%1").arg(number);
}

/// Sets `keys` preferences to the version.
[[nodiscard]] inline bool writePreferences(UserDefaults &preferences, int version) {
    for (int i = 0; i < keys; ++i)
        preferences.setValue(preferenceKey(i), version);
    preferences.synchronize();
    return true;
}

}  // namespace pelorinnews::test
