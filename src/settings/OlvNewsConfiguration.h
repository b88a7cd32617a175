#pragma once

#include "UserDefaults.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <memory>

namespace pelorinnews {

/// The panel's nine settings, typed, over the user's preferences. It keeps no value: every read and
/// every write goes to the preferences, so a value written through one store is seen at once
/// through every other.
///
/// A key without a stored value reads as its default. A stored value that does not convert reads
/// as no, 0 or absent, as `PreferenceValue` tells; whoever uses a setting decides what that means.
///
/// | key                   | type    | default                                            |
/// |-----------------------|---------|----------------------------------------------------|
/// | "newsShowOnStart"     | boolean | yes                                                |
/// | "newsFeedBaseURL"     | text    | a placeholder that answers nowhere                 |
/// | "newsTypeFilter"      | integer | 1, all types; 2 is critical                        |
/// | "newsFilter"          | integer | 3, unread; 1 is all, 2 is recent                   |
/// | "newsFeedLocale"      | text    | the user's first preferred language                |
/// | "newsReadItemContent" | boolean | yes                                                |
/// | "newsLastViewing"     | date    | `distantPast()`                                    |
/// | "newsRefreshInterval" | integer | 14400 seconds; the panel never writes it           |
/// | "newsFeedType"        | text    | "standard"; the panel never writes it              |
class OlvNewsConfiguration {
public:
    /// Over the running host's preferences, for the user's languages as they are now.
    OlvNewsConfiguration();

    /// Over other preferences and languages. An empty list of languages counts as English.
    OlvNewsConfiguration(std::shared_ptr<UserDefaults> userDefaults,
                         const QStringList &preferredLanguages);

    [[nodiscard]] bool showOnStart() const;
    void setShowOnStart(bool showOnStart);

    [[nodiscard]] QString feedBaseURL() const;
    void setFeedBaseURL(const QString &feedBaseURL);

    /// A stored negative number reads as a huge one, here and in the two other integers.
    [[nodiscard]] quint64 newsTypeFilter() const;
    void setNewsTypeFilter(quint64 newsTypeFilter);

    [[nodiscard]] quint64 newsFilter() const;
    void setNewsFilter(quint64 newsFilter);

    [[nodiscard]] QString feedLocale() const;
    void setFeedLocale(const QString &feedLocale);

    [[nodiscard]] bool readItemContent() const;
    void setReadItemContent(bool readItemContent);

    /// Never absent: without a date no item would ever count as new, so what is stored and is no
    /// date reads as the default.
    [[nodiscard]] QDateTime lastViewing() const;
    /// Never stores an earlier date than is stored, for another instance of the host may have
    /// stored it. Writes at once. An invalid date brings the default back.
    void setLastViewing(const QDateTime &lastViewing);

    /// Seconds between two refreshes.
    [[nodiscard]] quint64 refreshInterval() const;

    [[nodiscard]] QString feedType() const;

    /// Removes every stored setting, so that the defaults count again, and writes that at once.
    void restoreDefaults();

    /// The date before all news: the first instant of the year 1, UTC.
    [[nodiscard]] static QDateTime distantPast();

private:
    std::shared_ptr<UserDefaults> _userDefaults;
    QVariantMap _defaultSettings;
};

}  // namespace pelorinnews
