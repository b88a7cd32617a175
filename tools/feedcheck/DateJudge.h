#pragma once

#include "DateGuess.h"
#include "FeedInspector.h"
#include "Finding.h"
#include "feed/OlvNewsCacheItem.h"
#include "platform/DateFormatter.h"

#include <QHash>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace pelorinnews {

/// Judges the publication dates of one feed, as the panel's own formatter reads them for a reader
/// of `locale`, and for the readers of other regions.
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
    /// Who of the others reads a date. `reader` is one who does; null if nobody does.
    struct Readers {
        QStringList strangers;
        const Reader *reader = nullptr;
    };
    using Note = std::function<void(FindingKind, const QString &)>;

    [[nodiscard]] QDateTime guess(const QString &text);
    [[nodiscard]] QString spelled(const QDateTime &date);
    [[nodiscard]] QString advice(const QDateTime &date);
    [[nodiscard]] Readers readersOf(const QString &text);
    [[nodiscard]] QDateTime asOthersRead(const QString &text);
    void judgeReadable(const QDateTime &date, const QString &text, const Note &add);
    void judgeYear(const QDateTime &date, const QString &text, const Note &add);
    void judgeWeekday(const QDateTime &date, const QString &text, const Note &add);
    void judgeReaders(const QDateTime &date, const QString &text, const Note &add);

    QString _locale;
    std::vector<Reader> _others;
    DateFormatter _panels;
    DateFormatter _weekdays;
    DateFormatter _days;
    DateGuess _guess;
    int _failedGuesses = 0;
    /// Who reads a date, by its text without its digits.
    QHash<QString, Readers> _readers;
    int _unreadable = 0;
    bool _scriptNoted = false;
};

}  // namespace pelorinnews
