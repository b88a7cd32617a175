#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace pelorinnews {

/// Feeds whose dates stand relative to now: `{{now}}`, `{{now-3d}}`, `{{now-1d2h30m}}`, with the
/// units d, h, m and s, each term with its own sign or the sign before it.
class FeedTemplate {
public:
    /// `text` with every such place replaced by its date, written in the language and script of
    /// `locale` (as "de", "de-DE" or "de_DE"). Anything else, other double braces included, stays
    /// as it is.
    [[nodiscard]] static QByteArray render(const QByteArray &text, const QString &locale,
                                           const QDateTime &now);

    /// `date` in the form of a feed's publication dates, in GMT, written likewise.
    [[nodiscard]] static QString publicationDate(const QDateTime &date, const QString &locale);
};

}  // namespace pelorinnews
