#pragma once

#include "FeedInspector.h"
#include "Finding.h"
#include "feed/OlvNewsCacheItem.h"
#include "platform/DateFormatter.h"

#include <QHash>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace pelorinnews {

/// Judges the publication dates of a feed, as the panel's own formatter reads them for a reader of
/// `locale`, and for the readers of other regions.
class DateJudge {
public:
    /// `otherReaders` are the language tags, with a region, of further users whom the feed reaches.
    DateJudge(QString locale, const QStringList &otherReaders);

    /// The findings on the date of `item`.
    [[nodiscard]] std::vector<Finding> judge(const OlvNewsCacheItem &item,
                                             const InspectedItem &inspected);

private:
    struct Reader {
        QString locale;
        std::unique_ptr<DateFormatter> formatter;
    };

    [[nodiscard]] DateFormatter &formatter(const QString &pattern, const QString &locale);
    [[nodiscard]] QDateTime guess(const QString &text);
    [[nodiscard]] QDateTime guessByPatterns(const QString &text);
    [[nodiscard]] QString advice(const QDateTime &date);
    [[nodiscard]] QDateTime withoutZone(const QString &pattern, const QString &text);
    [[nodiscard]] const QStringList &whoCannotRead(const QString &text);
    void judgeReadable(const QDateTime &date, const QString &text,
                       const std::function<void(FindingKind, const QString &)> &add);

    QString _locale;
    std::vector<Reader> _others;
    /// The formatters for guesses, by pattern and locale.
    std::map<std::pair<QString, QString>, std::unique_ptr<DateFormatter>> _formatters;
    /// The pattern and the locale of the last successful guess: the next date probably has them.
    std::pair<QString, QString> _lastGuess;
    int _failedGuesses = 0;
    /// Who cannot read a date, by its text without its digits.
    QHash<QString, QStringList> _unreadableBy;
};

}  // namespace pelorinnews
