#include "DateJudge.h"

#include "FeedTemplate.h"
#include "JsonOutput.h"
#include "feed/OlvNewsParser.h"

#include <QCalendar>
#include <QTimeZone>

#include <array>

namespace pelorinnews {

namespace {

constexpr int firstPlausibleYear = 1990;
constexpr int maxFailedGuesses = 100;

/// Forms in which editors write dates that the panel cannot read, with a zone and then without.
constexpr std::array zonedForms = {
    "EEE, d LLL yyyy HH:mm:ss zzz",   "EEE, d MMM yyyy HH:mm:ss zzz",
    "EEE, d LLL yyyy HH:mm zzz",      "EEE d LLL yyyy HH:mm:ss zzz",
    "d LLL yyyy HH:mm:ss zzz",        "d MMM yyyy HH:mm:ss zzz",
    "d LLL yyyy HH:mm zzz",           "EEE LLL d HH:mm:ss zzz yyyy",
    "EEEE, d MMMM yyyy HH:mm:ss zzz",
};
constexpr std::array zonelessForms = {
    "EEE, d LLL yyyy HH:mm:ss",
    "EEE, d MMM yyyy HH:mm:ss",
    "EEE, d LLL yyyy HH:mm",
    "EEE LLL d HH:mm:ss yyyy",
    "d LLL yyyy HH:mm:ss",
    "d MMM yyyy HH:mm",
    "EEE, d LLL yyyy",
    "d LLL yyyy",
    "d MMM yyyy",
    "d MMMM yyyy",
    "MMMM d, yyyy",
    "EEEE, d MMMM yyyy",
};
constexpr std::array guessedLanguages = {"en", "de", "fr", "es", "it", "pt_BR", "nl",
                                         "pl", "cs", "ru", "ja", "ko", "zh",    "ar"};

/// The fields of `date` in the user's time zone, as if they were UTC.
QDateTime fieldsAsUtc(const QDateTime &date) {
    const QDateTime local = date.toLocalTime();
    return {local.date(), local.time(), QTimeZone::utc()};
}

/// `date`, with the century that a year of two digits leaves out.
QDateTime withCentury(const QDateTime &date) {
    constexpr int firstOfLastCentury = 70;
    // Unicode's Gregorian calendar counts days before 1582 as the Julian one does.
    const auto parts = QCalendar(QCalendar::System::Julian).partsFromDate(date.date());
    if (parts.year < 0 || parts.year > 99)
        return date;
    const int century = parts.year < firstOfLastCentury ? 2000 : 1900;
    return {QDate(century + parts.year, parts.month, parts.day), date.time(), QTimeZone::utc()};
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

DateJudge::DateJudge(QString locale, const QStringList &otherReaders) : _locale(std::move(locale)) {
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
    } else if (!item.date().isValid()) {
        add(FindingKind::DateUnreadable,
            QStringLiteral("a user of %1 cannot read the date \"%2\", so it shows only among all "
                           "news; %3")
                .arg(_locale, forOneLine(inspected.dateText), advice(guess(inspected.dateText))));
    } else {
        judgeReadable(item.date(), inspected.dateText, add);
    }
    return findings;
}

void DateJudge::judgeReadable(const QDateTime &date, const QString &text,
                              const std::function<void(FindingKind, const QString &)> &add) {
    const int year = date.toUTC().date().year();
    if (year < firstPlausibleYear)
        add(FindingKind::DateYear,
            QStringLiteral("the date \"%1\" is in the year %2; %3")
                .arg(forOneLine(text), QString::number(year), advice(withCentury(date.toUTC()))));
    else if (date > QDateTime::currentDateTimeUtc())
        add(FindingKind::DateFuture,
            QStringLiteral(
                "dated in the future (%1); once it was viewed, all news before that date "
                "counts as read")
                .arg(isoDate(date)));

    const QString name = QStringLiteral("EEE");
    const QString whole = QStringLiteral("EEE, dd LLL yyyy");
    const QDateTime weekday = withoutZone(name, text);
    const QDateTime day = withoutZone(whole, text);
    if (year >= firstPlausibleYear && weekday.isValid() && day.isValid() &&
        weekday.date().dayOfWeek() != day.date().dayOfWeek())
        add(FindingKind::DateWeekday,
            QStringLiteral(
                "the weekday of \"%1\" is wrong, and is ignored; if the day is right, %2")
                .arg(forOneLine(text), advice(date)));

    const QStringList &strangers = whoCannotRead(text);
    if (!strangers.isEmpty())
        add(FindingKind::DateRegion, QStringLiteral("readers of %1 cannot read the date \"%2\"; %3")
                                         .arg(namesOf(strangers), forOneLine(text), advice(date)));
}

/// The fields that `text` has for `pattern`, which has no zone, as if they were UTC.
QDateTime DateJudge::withoutZone(const QString &pattern, const QString &text) {
    const QDateTime date = formatter(pattern, _locale).dateFromString(text.toUtf8());
    return date.isValid() ? fieldsAsUtc(date) : date;
}

const QStringList &DateJudge::whoCannotRead(const QString &text) {
    // Readers differ in names, calendars and digits; which number a digit is makes no difference.
    const QString key = withoutDigits(text);
    const auto known = _unreadableBy.constFind(key);
    if (known != _unreadableBy.cend())
        return *known;
    QStringList strangers;
    const QByteArray bytes = text.toUtf8();
    for (const Reader &reader : _others) {
        if (!reader.formatter->dateFromString(bytes).isValid())
            strangers.append(reader.locale.section(u'@', 0, 0));
    }
    return *_unreadableBy.insert(key, strangers);
}

/// How a reader's locale spells `date`.
QString DateJudge::advice(const QDateTime &date) {
    if (date.isValid()) {
        const QString spelled = FeedTemplate::publicationDate(date, _locale);
        DateFormatter &panels = formatter(QLatin1String(OlvNewsParser::datePattern), _locale);
        if (panels.dateFromString(spelled.toUtf8()) == date.toUTC())
            return QStringLiteral("write \"%1\"").arg(spelled);
    }
    return QStringLiteral("dates look like \"%1\"")
        .arg(FeedTemplate::publicationDate(
            QDateTime(QDate(2015, 3, 2), QTime(10, 0), QTimeZone::utc()), _locale));
}

DateFormatter &DateJudge::formatter(const QString &pattern, const QString &locale) {
    std::unique_ptr<DateFormatter> &known = _formatters[{pattern, locale}];
    if (!known)
        known = std::make_unique<DateFormatter>(pattern, locale);
    return *known;
}

/// The date that the editor probably meant; invalid if that is not clear.
QDateTime DateJudge::guess(const QString &text) {
    const QString trimmed = text.trimmed();
    QDateTime date = QDateTime::fromString(trimmed, Qt::ISODate);
    if (date.isValid() && date.timeSpec() == Qt::LocalTime)
        date.setTimeZone(QTimeZone::utc());
    if (!date.isValid())
        date = QDateTime::fromString(trimmed, Qt::RFC2822Date);
    if (!date.isValid() && _failedGuesses < maxFailedGuesses) {
        date = guessByPatterns(trimmed);
        _failedGuesses += date.isValid() ? 0 : 1;
    }
    return date.isValid() ? withCentury(date.toUTC()) : date;
}

QDateTime DateJudge::guessByPatterns(const QString &text) {
    const QByteArray bytes = text.toUtf8();
    const auto tried = [&](const QString &pattern, const QString &locale) {
        QDateTime date = formatter(pattern, locale).dateFromString(bytes);
        if (!date.isValid())
            return date;
        _lastGuess = {pattern, locale};
        return pattern.contains(u'z') ? date : fieldsAsUtc(date);
    };
    if (_lastGuess.first.contains(u'z')) {
        if (QDateTime date = tried(_lastGuess.first, _lastGuess.second); date.isValid())
            return date;
    }
    QStringList locales{_locale};
    for (const char *const language : guessedLanguages)
        locales.append(QLatin1String(language));
    // A form without a zone would also match a date with one, and ignore the zone.
    const auto triedAll = [&](const auto &forms) {
        for (const char *const form : forms) {
            for (const QString &locale : locales) {
                if (QDateTime date = tried(QLatin1String(form), locale); date.isValid())
                    return date;
            }
        }
        return QDateTime();
    };
    const QDateTime zoned = triedAll(zonedForms);
    return zoned.isValid() ? zoned : triedAll(zonelessForms);
}

}  // namespace pelorinnews
