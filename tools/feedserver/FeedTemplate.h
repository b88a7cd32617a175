#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace pelorinnews {

/// Feeds with dates relative to now: `{{now}}`, `{{now-3d}}`, `{{now-1d2h30m}}`. The units are d,
/// h, m and s; a term without a sign takes the sign of the term before it.
class FeedTemplate {
public:
    /// `text` with every placeholder `{{now…}}` replaced by its date, written in the language and
    /// script of `locale` (as "de", "de-DE" or "de_DE"). Anything else, other double braces
    /// included, stays unchanged.
    [[nodiscard]] static QByteArray render(const QByteArray &text, const QString &locale,
                                           const QDateTime &now);

    /// `date` in GMT as a `pubDate` of a feed, with the names of weekdays and months in the
    /// language and script of `locale`.
    [[nodiscard]] static QString publicationDate(const QDateTime &date, const QString &locale);
};

}  // namespace pelorinnews
