#pragma once

#include "NewsFilter.h"
#include "UserDefaults.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <memory>

namespace pelorinnews {

/// Typed access to the panel's nine settings in the user's preferences. It caches no value: every
/// read and write goes to the preferences, so a value written through one instance is visible at
/// once through every other.
///
/// A key without a stored value reads as its default. A stored value that does not convert reads as
/// false, 0 or absent (see `PreferenceValue`); the caller decides what that means.
///
/// | key                   | type    | default                                            |
/// |-----------------------|---------|----------------------------------------------------|
/// | "newsShowOnStart"     | boolean | yes                                                |
/// | "newsFeedBaseURL"     | text    | a placeholder address without a server             |
/// | "newsTypeFilter"      | integer | 1, all types; 2 is critical                        |
/// | "newsFilter"          | integer | 3, unread; 1 is all, 2 is recent                   |
/// | "newsFeedLocale"      | text    | the user's first preferred language                |
/// | "newsReadItemContent" | boolean | yes                                                |
/// | "newsLastViewing"     | date    | `distantPast()`                                    |
/// | "newsRefreshInterval" | integer | 14400 seconds; the panel never writes it           |
/// | "newsFeedType"        | text    | "standard"; the panel never writes it              |
class OlvNewsConfiguration {
public:
    /// Uses the running host's preferences and the user's current preferred languages.
    OlvNewsConfiguration();

    /// Uses the given preferences and languages. An empty list of languages counts as English.
    OlvNewsConfiguration(std::shared_ptr<UserDefaults> userDefaults,
                         const QStringList &preferredLanguages);

    [[nodiscard]] bool showOnStart() const;
    void setShowOnStart(bool showOnStart);

    [[nodiscard]] QString feedBaseURL() const;
    void setFeedBaseURL(const QString &feedBaseURL);

    /// A stored negative number reads as a huge one, here and in the two other integer settings.
    [[nodiscard]] NewsTypeFilter newsTypeFilter() const;
    void setNewsTypeFilter(NewsTypeFilter newsTypeFilter);

    [[nodiscard]] NewsFilter newsFilter() const;
    void setNewsFilter(NewsFilter newsFilter);

    [[nodiscard]] QString feedLocale() const;
    void setFeedLocale(const QString &feedLocale);

    [[nodiscard]] bool readItemContent() const;
    void setReadItemContent(bool readItemContent);

    /// Never absent: a stored value that is not a date reads as the default, because without a date
    /// no item would count as new.
    [[nodiscard]] QDateTime lastViewing() const;
    /// Never replaces a later stored date, which another instance of the host may have written.
    /// Writes a valid date at once. An invalid date removes the stored one, so that the default
    /// applies again.
    void setLastViewing(const QDateTime &lastViewing);

    /// Seconds between two refreshes.
    [[nodiscard]] quint64 refreshInterval() const;

    [[nodiscard]] QString feedType() const;

    /// Removes every stored setting, so that the defaults apply again, and writes the file at once.
    void restoreDefaults();

    /// The date before all news: the first instant of the year 1, UTC.
    [[nodiscard]] static QDateTime distantPast();

private:
    std::shared_ptr<UserDefaults> _userDefaults;
    QVariantMap _defaultSettings;
};

}  // namespace pelorinnews
