#include "DateJudge.h"

#include "FeedTemplate.h"
#include "JsonOutput.h"
#include "feed/OlvNewsParser.h"

#include <QTimeZone>

namespace pelorinnews {

namespace {

constexpr int firstPlausibleYear = 1990;
/// So many dates that nobody understands are tried in all forms and for all readers.
constexpr int maxFailures = 100;

/// The fields of `date` in the user's time zone, as if they were UTC.
QDateTime fieldsAsUtc(const QDateTime &date) {
    const QDateTime local = date.toLocalTime();
    return {local.date(), local.time(), QTimeZone::utc()};
}

/// The fields that `text` has for the pattern of `formatter`, which has no zone, as if they were
/// UTC.
QDateTime withoutZone(DateFormatter &formatter, const QString &text) {
    const QDateTime date = formatter.dateFromString(text.toUtf8());
    return date.isValid() ? fieldsAsUtc(date) : date;
}

QString withoutDigits(const QString &text) {
    QString kept = text;
    kept.removeIf([](QChar character) { return character.isDigit(); });
    return kept;
}

QString namesOf(const QStringList &locales) {
    constexpr qsizetype maxNames = 8;
    if (locales.size() <= maxNames)
        return locales.join(QLatin1String(", "));
    return locales.first(maxNames).join(QLatin1String(", ")) +
           QStringLiteral(" and %1 more").arg(locales.size() - maxNames);
}

}  // namespace

DateJudge::DateJudge(QString locale, const QStringList &otherReaders)
    : _locale(std::move(locale)),
      _panels(QLatin1String(OlvNewsParser::datePattern), _locale),
      _weekdays(QStringLiteral("EEE"), _locale),
      _days(QStringLiteral("EEE, dd LLL yyyy"), _locale),
      _guess(_locale) {
    for (const QString &language : otherReaders) {
        Reader reader;
        reader.locale = DateFormatter::localeIdentifier(language, language);
        reader.formatter = std::make_unique<DateFormatter>(
            QLatin1String(OlvNewsParser::datePattern), reader.locale);
        _others.push_back(std::move(reader));
    }
}

std::vector<Finding> DateJudge::judge(const OlvNewsCacheItem &item,
                                      const InspectedItem &inspected) {
    std::vector<Finding> findings;
    const auto add = [&](FindingKind kind, const QString &text) {
        findings.push_back({kind, inspected.lineOf("pubDate"), text});
    };
    if (inspected.elements.count("pubDate") == 0) {
        add(FindingKind::DateMissing,
            QStringLiteral("no <pubDate>, so it shows only among all news, and is never announced "
                           "as new"));
        return findings;
    }
    const QString &text = inspected.dateText;
    const QDateTime date = item.date().isValid() ? item.date() : asOthersRead(text);
    if (date.isValid())
        judgeReadable(date, text, add);
    else
        add(FindingKind::DateUnreadable,
            QStringLiteral("a user of %1 cannot read the date \"%2\", so it shows only among all "
                           "news; %3")
                .arg(_locale, forOneLine(text), advice(guess(text))));
    return findings;
}

void DateJudge::judgeReadable(const QDateTime &date, const QString &text, const Note &add) {
    judgeYear(date, text, add);
    judgeWeekday(date, text, add);
    judgeReaders(date, text, add);
}

void DateJudge::judgeYear(const QDateTime &date, const QString &text, const Note &add) {
    const int year = date.toUTC().date().year();
    if (year < firstPlausibleYear) {
        const QDateTime meant = DateGuess::withCentury(date.toUTC());
        add(FindingKind::DateYear,
            QStringLiteral("the date \"%1\" is in the year %2; %3")
                .arg(forOneLine(text), QString::number(year),
                     meant == date ? QStringLiteral("correct it unless that is meant")
                                   : advice(meant)));
    } else if (date > QDateTime::currentDateTimeUtc()) {
        add(FindingKind::DateFuture,
            QStringLiteral("dated in the future (%1); once it was viewed, all news before that "
                           "date counts as read")
                .arg(isoDate(date)));
    }
}

void DateJudge::judgeWeekday(const QDateTime &date, const QString &text, const Note &add) {
    const QDateTime weekday = withoutZone(_weekdays, text);
    const QDateTime day = withoutZone(_days, text);
    if (date.toUTC().date().year() >= firstPlausibleYear && weekday.isValid() && day.isValid() &&
        weekday.date().dayOfWeek() != day.date().dayOfWeek())
        add(FindingKind::DateWeekday,
            QStringLiteral("the weekday of \"%1\" is wrong, and is ignored; if the day is right, "
                           "%2")
                .arg(forOneLine(text), advice(date)));
}

void DateJudge::judgeReaders(const QDateTime &date, const QString &text, const Note &add) {
    const QStringList strangers = readersOf(text).strangers;
    if (strangers.isEmpty())
        return;
    const bool canBeBetter = readersOf(spelled(date)).strangers.size() < strangers.size();
    if (canBeBetter) {
        add(FindingKind::DateRegion, QStringLiteral("readers of %1 cannot read the date \"%2\"; %3")
                                         .arg(namesOf(strangers), forOneLine(text), advice(date)));
    } else if (!std::exchange(_scriptNoted, true)) {
        // Once for the whole feed: no date can be read in two scripts.
        add(FindingKind::DateScript,
            QStringLiteral("readers of %1 cannot read this date and those of other items, since "
                           "they write in another script: name the region or the script in "
                           "<language>, and publish another feed for them")
                .arg(namesOf(strangers)));
    }
}

DateJudge::Readers DateJudge::readersOf(const QString &text) {
    // Readers differ in names, calendars and digits; which number a digit is makes no difference.
    const QString key = withoutDigits(text);
    const auto known = _readers.constFind(key);
    if (known != _readers.cend())
        return *known;
    Readers readers;
    const QByteArray bytes = text.toUtf8();
    for (const Reader &reader : _others) {
        if (reader.formatter->dateFromString(bytes).isValid())
            readers.reader = &reader;
        else
            readers.strangers.append(reader.locale.section(u'@', 0, 0));
    }
    // Otherwise there may be no such day, as in "32 Mar".
    if (readers.reader)
        _readers.insert(key, readers);
    return readers;
}

/// The date that `text` is for readers of another region; invalid if for none.
QDateTime DateJudge::asOthersRead(const QString &text) {
    if (_unreadable >= maxFailures && !_readers.contains(withoutDigits(text)))
        return {};
    const Readers readers = readersOf(text);
    const QDateTime date =
        readers.reader ? readers.reader->formatter->dateFromString(text.toUtf8()) : QDateTime();
    _unreadable += date.isValid() ? 0 : 1;
    return date;
}

/// How the reader's language spells `date`; null if the panel would not read that as `date`.
QString DateJudge::spelled(const QDateTime &date) {
    const QString text = FeedTemplate::publicationDate(date, _locale);
    return _panels.dateFromString(text.toUtf8()) == date.toUTC() ? text : QString();
}

QString DateJudge::advice(const QDateTime &date) {
    const QString text = date.isValid() ? spelled(date) : QString();
    if (!text.isNull())
        return QStringLiteral("write \"%1\"").arg(text);
    return QStringLiteral("dates look like \"%1\"")
        .arg(FeedTemplate::publicationDate(
            QDateTime(QDate(2015, 3, 2), QTime(10, 0), QTimeZone::utc()), _locale));
}

/// The date that the editor probably meant; invalid if that is not clear.
QDateTime DateJudge::guess(const QString &text) {
    if (_failedGuesses >= maxFailures)
        return {};
    const QDateTime date = _guess.read(text);
    _failedGuesses += date.isValid() ? 0 : 1;
    return date;
}

}  // namespace pelorinnews
