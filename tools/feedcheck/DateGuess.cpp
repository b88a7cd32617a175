#include "DateGuess.h"

#include <QCalendar>
#include <QRegularExpression>
#include <QTimeZone>

#include <array>
#include <cmath>
#include <optional>
#include <unicode/smpdtfmt.h>

namespace pelorinnews {

namespace {

/// The forms of a day with the name of its month.
constexpr std::array dayForms = {
    "EEE, d LLL yyyy",
    "EEE, d MMM yyyy",
    "EEE d LLL yyyy",
    "EEE d MMM yyyy",
    "d LLL yyyy",
    "d MMM yyyy",
    "EEEE, d-MMM-yyyy",
    "EEE, d-MMM-yyyy",
    "d-MMM-yyyy",
    "EEEE, d MMMM yyyy",
    "EEEE d MMMM yyyy",
    "d MMMM yyyy",
    "d. MMMM yyyy",
    "EEEE, d. MMMM yyyy",
    "MMMM d, yyyy",
    "MMM d, yyyy",
    "EEE, MMM d, yyyy",
    "EEEE, MMMM d, yyyy",
    "EEE MMM d yyyy",
    "EEE LLL d yyyy",
    "d 'de' MMMM 'de' yyyy",
    "EEEE, d 'de' MMMM 'de' yyyy",
    "yyyy. MMMM d.",
};
constexpr std::array languages = {"en", "de", "fr", "es", "it", "pt_BR", "nl",
                                  "pl", "cs", "ru", "ja", "ko", "zh",    "ar"};

struct Zone {
    QLatin1String name;
    int hours;
};
/// Abbreviations that mean the same to everybody, or that RFC 822 defines.
constexpr std::array zones = {
    Zone{QLatin1String("Z"), 0},    Zone{QLatin1String("UT"), 0},   Zone{QLatin1String("UTC"), 0},
    Zone{QLatin1String("GMT"), 0},  Zone{QLatin1String("WET"), 0},  Zone{QLatin1String("WEST"), 1},
    Zone{QLatin1String("CET"), 1},  Zone{QLatin1String("MEZ"), 1},  Zone{QLatin1String("CEST"), 2},
    Zone{QLatin1String("MESZ"), 2}, Zone{QLatin1String("EET"), 2},  Zone{QLatin1String("EEST"), 3},
    Zone{QLatin1String("MSK"), 3},  Zone{QLatin1String("JST"), 9},  Zone{QLatin1String("KST"), 9},
    Zone{QLatin1String("EST"), -5}, Zone{QLatin1String("EDT"), -4}, Zone{QLatin1String("CST"), -6},
    Zone{QLatin1String("CDT"), -5}, Zone{QLatin1String("MST"), -7}, Zone{QLatin1String("MDT"), -6},
    Zone{QLatin1String("PST"), -8}, Zone{QLatin1String("PDT"), -7},
};

/// What follows a time: a known zone, or one with an offset such as "+0100", "GMT+1" or "-08:00".
/// In seconds; absent for anything else.
std::optional<int> offsetOf(const QString &zone) {
    if (zone.isEmpty())
        return 0;
    for (const Zone &known : zones) {
        if (zone.compare(known.name, Qt::CaseInsensitive) == 0)
            return known.hours * 3600;
    }
    static const QRegularExpression form(
        QStringLiteral("^(?:GMT|UTC)?([+-])(\\d{1,2}):?(\\d{2})?$"));
    const QRegularExpressionMatch match = form.match(zone);
    const int hours = match.captured(2).toInt();
    const int minutes = match.captured(3).toInt();
    constexpr int maxHours = 14;
    if (!match.hasMatch() || hours > maxHours || minutes > 59)
        return std::nullopt;
    return (match.captured(1) == u"-" ? -60 : 60) * (60 * hours + minutes);
}

/// Invalid if there is no such time.
QTime timeOf(const QRegularExpressionMatch &match) {
    int hour = match.captured(QStringLiteral("hour")).toInt();
    const QString half = match.captured(QStringLiteral("half")).toLower();
    if (!half.isEmpty()) {
        if (hour < 1 || hour > 12)
            return {};
        hour = hour % 12 + (half == u"p" ? 12 : 0);
    }
    return {hour, match.captured(QStringLiteral("minute")).toInt(),
            match.captured(QStringLiteral("second")).toInt()};
}

/// "2015-03-02", "2015/03/02", "2015年3月2日"; invalid for another form.
QDate numericDay(const QString &text) {
    static const QRegularExpression form(
        QStringLiteral("^(\\d{4}) ?[-/.年년] ?(\\d{1,2}) ?[-/.月월] ?(\\d{1,2}) ?[日일]?$"));
    const QRegularExpressionMatch match = form.match(text);
    return {match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt()};
}

}  // namespace

class DateGuess::Form {
public:
    Form(const char *pattern, const QString &locale)
        : _format(icu::UnicodeString(pattern),
                  icu::Locale::createCanonical(locale.toUtf8().constData()), _status) {
        _format.setLenient(false);
        _format.adoptTimeZone(icu::TimeZone::createTimeZone("GMT"));
    }

    [[nodiscard]] QDate read(const icu::UnicodeString &text) const {
        icu::ParsePosition position(0);
        const UDate date = _format.parse(text, position);
        if (U_FAILURE(_status) || position.getErrorIndex() >= 0 ||
            position.getIndex() != text.length())
            return {};
        return QDateTime::fromMSecsSinceEpoch(std::llround(date), Qt::UTC).date();
    }

private:
    UErrorCode _status = U_ZERO_ERROR;
    icu::SimpleDateFormat _format;
};

DateGuess::DateGuess(const QString &locale) : _locale(locale) {}

DateGuess::~DateGuess() = default;

QDateTime DateGuess::read(const QString &text) {
    constexpr qsizetype maxLength = 100;
    // The time and its zone are written alike in all languages, so only the rest is tried in many
    // forms. A browser appends the zone's name in parentheses.
    static const QRegularExpression remark(QStringLiteral("\\([^()]*\\)$"));
    static const QRegularExpression time(QStringLiteral(
        "(?:^|T| )(?<hour>\\d{1,2}):(?<minute>\\d{2})(?::(?<second>\\d{2})(?:[.,]\\d+)?)?"
        "(?: ?(?<half>[APap])\\.?[Mm]\\.?(?![A-Za-z]))?"
        "(?: ?(?<zone>[A-Za-z]*[+-]\\d{1,2}:?\\d{0,2}|[A-Za-z]{1,5}))?(?= |,|$)"));
    if (text.size() > maxLength)
        return {};
    QString day = QString(text).replace(u',', QLatin1String(", ")).simplified().remove(remark);
    day = day.trimmed();
    const QRegularExpressionMatch match = time.match(day);
    std::optional<int> offset = 0;
    QTime clock(0, 0);
    if (match.hasMatch()) {
        offset = offsetOf(match.captured(QStringLiteral("zone")));
        clock = timeOf(match);
        day.replace(match.capturedStart(), match.capturedLength(), u' ');
        day = day.simplified();
        while (day.endsWith(u','))
            day.chop(1);
    }
    const QDate date = dayOf(day);
    if (!offset || !clock.isValid() || !date.isValid())
        return {};
    return withCentury(QDateTime(date, clock, QTimeZone::utc())).addSecs(-*offset);
}

QDateTime DateGuess::withCentury(const QDateTime &date) {
    constexpr int firstOfLastCentury = 70;
    // Unicode's Gregorian calendar counts days before 1582 as the Julian one does.
    const auto parts = QCalendar(QCalendar::System::Julian).partsFromDate(date.date());
    if (parts.year < 0 || parts.year > 99)
        return date;
    const int century = parts.year < firstOfLastCentury ? 2000 : 1900;
    return {QDate(century + parts.year, parts.month, parts.day), date.time(), QTimeZone::utc()};
}

QDate DateGuess::dayOf(const QString &text) {
    if (const QDate day = numericDay(text); day.isValid())
        return day;
    if (_forms.empty()) {
        const auto add = [this](const QString &locale) {
            for (const char *const form : dayForms)
                _forms.push_back(std::make_unique<Form>(form, locale));
        };
        add(_locale);
        for (const char *const language : languages)
            add(QLatin1String(language));
    }
    const icu::UnicodeString units(text.utf16(), static_cast<int32_t>(text.size()));
    if (const QDate day = _forms[_last]->read(units); day.isValid())
        return day;
    for (std::size_t index = 0; index < _forms.size(); ++index) {
        if (const QDate day = _forms[index]->read(units); day.isValid()) {
            _last = index;
            return day;
        }
    }
    return {};
}

}  // namespace pelorinnews
