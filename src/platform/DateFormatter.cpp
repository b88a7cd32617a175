#include "DateFormatter.h"

#include "PreferredLanguages.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>
#include <unicode/calendar.h>
#include <unicode/dtfmtsym.h>
#include <unicode/smpdtfmt.h>
#include <unicode/uchar.h>
#include <vector>

namespace pelorinnews {

namespace {

/// The only pattern with a fast path.
constexpr QStringView quickPattern = u"EEE, dd LLL yyyy HH:mm:ss zzz";
/// The fast path starts at a year safely after the switch from the Julian to the Gregorian
/// calendar.
constexpr int firstQuickYear = 1800;

icu::Locale icuLocale(const QString &identifier) {
    return icu::Locale::createCanonical(identifier.toUtf8().constData());
}

/// Script and region may be empty.
icu::Locale icuLocale(const std::string &language, const std::string &script,
                      const std::string &region) {
    std::string name = language;
    for (const std::string &part : {script, region}) {
        if (!part.empty())
            name += '_' + part;
    }
    return icu::Locale::createCanonical(name.c_str());
}

icu::Locale withLikelySubtags(icu::Locale locale) {
    UErrorCode status = U_ZERO_ERROR;
    locale.addLikelySubtags(status);
    return locale;
}

/// ICU's name for the calendar of `locale`, such as "gregorian".
std::string calendarOf(const icu::Locale &locale) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(locale, status));
    return calendar ? calendar->getType() : "gregorian";
}

icu::Locale withCalendar(icu::Locale locale, const std::string &calendar) {
    UErrorCode status = U_ZERO_ERROR;
    locale.setKeywordValue("calendar", calendar.c_str(), status);
    return locale;
}

/// The region in the name of a POSIX locale, or in a language tag; empty if there is none.
std::string regionIn(const QString &name) {
    const QString place = name.section(u'@', 0, 0).section(u'.', 0, 0);
    // ICU takes "C" and "POSIX" for "en_US".
    if (place == u"C" || place == u"POSIX")
        return {};
    return icuLocale(place).getCountry();
}

/// Reads `count` digits at the front of `text` into `number` and removes them; false if there are
/// fewer.
bool takeDigits(std::string_view &text, size_t count, int &number) {
    if (text.size() < count)
        return false;
    number = 0;
    for (size_t i = 0; i < count; ++i) {
        if (text[i] < '0' || text[i] > '9')
            return false;
        number = number * 10 + (text[i] - '0');
    }
    text.remove_prefix(count);
    return true;
}

bool take(std::string_view &text, std::string_view expected) {
    if (!text.starts_with(expected))
        return false;
    text.remove_prefix(expected.size());
    return true;
}

/// A weekday or month name of the locale, or a time zone. The fast path relies on it only if it is
/// `proven`: ICU has parsed a text with this name, with the same result as the fast path.
struct Name {
    std::string text;
    bool proven = false;
};

template <class Names>
Name *takeName(std::string_view &text, Names &names, std::string_view behind) {
    for (Name &name : names) {
        if (name.text.empty() || !text.starts_with(name.text) ||
            !text.substr(name.text.size()).starts_with(behind))
            continue;
        text.remove_prefix(name.text.size() + behind.size());
        return &name;
    }
    return nullptr;
}

/// The offset in minutes of "GMT", "UTC" or "+hhmm"; absent if `zone` is anything else.
std::optional<int> zoneOffset(std::string_view zone) {
    if (zone == "GMT" || zone == "UTC")
        return 0;
    if (zone.size() != 5 || (zone[0] != '+' && zone[0] != '-'))
        return std::nullopt;
    const int sign = zone[0] == '-' ? -1 : 1;
    zone.remove_prefix(1);
    int hours = 0;
    int minutes = 0;
    if (!takeDigits(zone, 2, hours) || !takeDigits(zone, 2, minutes) || hours > 14 || minutes > 59)
        return std::nullopt;
    return sign * (hours * 60 + minutes);
}

/// `name` in UTF-8 if the fast path can use it, else empty. A name must not hold digits, blanks or
/// commas, in any script, since these also occur in the rest of a date.
std::string quickName(const icu::UnicodeString &name) {
    for (int32_t i = 0; i < name.length(); i = name.moveIndex32(i, 1)) {
        const UChar32 character = name.char32At(i);
        if (!u_isUAlphabetic(character) && character != '.')
            return {};
    }
    std::string utf8;
    return name.toUTF8String(utf8);
}

}  // namespace

class DateFormatter::Icu {
public:
    Icu(QString datePattern, icu::Locale dateLocale)
        : _pattern(std::move(datePattern)), _locale(std::move(dateLocale)) {}

    /// A formatter for the same language and script in any region, in the calendar that is usual
    /// for them; null if this one has no region.
    [[nodiscard]] std::unique_ptr<Icu> withoutRegion() const {
        if (*_locale.getCountry() == '\0')
            return nullptr;
        const icu::Locale whole = withLikelySubtags(_locale);
        return std::make_unique<Icu>(_pattern,
                                     icuLocale(whole.getLanguage(), whole.getScript(), {}));
    }

    QDateTime read(std::string_view text) {
        if (!_prepared)
            prepare();
        if (!_format)
            return {};
        if (!_quick)
            return dateTime(readByIcu(text));
        const std::optional<Reading> reading = readQuickly(text);
        if (reading && reading->proven())
            return dateTime(reading->milliseconds);
        const std::optional<UDate> date = readByIcu(text);
        if (reading && date == reading->milliseconds)
            prove(*reading);
        return dateTime(date);
    }

private:
    struct Reading {
        Name *weekday;
        Name *month;
        std::string_view zone;
        Name *provenZone;
        UDate milliseconds;

        [[nodiscard]] bool proven() const { return weekday->proven && month->proven && provenZone; }
    };

    void prepare() {
        _prepared = true;
        UErrorCode status = U_ZERO_ERROR;
        _format = std::make_unique<icu::SimpleDateFormat>(
            icu::UnicodeString(false, _pattern.utf16(), static_cast<int32_t>(_pattern.size())),
            _locale, status);
        if (U_FAILURE(status)) {
            _format.reset();
            return;
        }
        _format->setLenient(false);
        _quick = _pattern == quickPattern &&
                 std::string_view(_format->getCalendar()->getType()) == "gregorian";
        if (!_quick)
            return;
        int32_t count = 0;
        const icu::DateFormatSymbols *const symbols = _format->getDateFormatSymbols();
        // ICU counts weekdays from one; element 0 is empty.
        const icu::UnicodeString *names = symbols->getWeekdays(
            count, icu::DateFormatSymbols::FORMAT, icu::DateFormatSymbols::ABBREVIATED);
        for (int32_t i = 1; i < std::min(count, 8); ++i)
            _weekdays[static_cast<size_t>(i - 1)].text = quickName(names[i]);
        names = symbols->getMonths(count, icu::DateFormatSymbols::STANDALONE,
                                   icu::DateFormatSymbols::ABBREVIATED);
        for (int32_t i = 0; i < std::min(count, 12); ++i)
            _months[static_cast<size_t>(i)].text = quickName(names[i]);
    }

    /// The result of the fast path, to be used only if its names are `proven`. Absent unless `text`
    /// has exactly the pattern's form, with ASCII digits and a zone with a plain offset.
    std::optional<Reading> readQuickly(std::string_view text) {
        using namespace std::chrono;
        Reading reading{};
        int dayNumber = 0;
        int yearNumber = 0;
        int hour = 0;
        int minute = 0;
        int second = 0;
        reading.weekday = takeName(text, _weekdays, ", ");
        if (!reading.weekday || !takeDigits(text, 2, dayNumber) || !take(text, " "))
            return std::nullopt;
        reading.month = takeName(text, _months, " ");
        if (!reading.month || !takeDigits(text, 4, yearNumber) || !take(text, " ") ||
            !takeDigits(text, 2, hour) || !take(text, ":") || !takeDigits(text, 2, minute) ||
            !take(text, ":") || !takeDigits(text, 2, second) || !take(text, " "))
            return std::nullopt;
        const std::optional<int> offset = zoneOffset(text);
        const year_month_day date{year(yearNumber),
                                  month(static_cast<unsigned>(reading.month - _months.data()) + 1),
                                  day(static_cast<unsigned>(dayNumber))};
        if (!offset || !date.ok() || yearNumber < firstQuickYear || hour > 23 || minute > 59 ||
            second > 59)
            return std::nullopt;
        const auto instant =
            sys_days(date) + hours(hour) + minutes(minute - *offset) + seconds(second);
        reading.milliseconds =
            static_cast<UDate>(duration_cast<milliseconds>(instant.time_since_epoch()).count());
        reading.zone = text;
        const auto zone = std::find_if(_zones.begin(), _zones.end(),
                                       [&](const Name &name) { return name.text == text; });
        reading.provenZone = zone == _zones.end() ? nullptr : &*zone;
        return reading;
    }

    void prove(const Reading &reading) {
        reading.weekday->proven = true;
        reading.month->proven = true;
        if (!reading.provenZone && _zones.size() < maxZones)
            _zones.push_back({std::string(reading.zone), true});
    }

    std::optional<UDate> readByIcu(std::string_view text) {
        if (text.size() > maxTextBytes)
            return std::nullopt;
        const icu::UnicodeString characters = icu::UnicodeString::fromUTF8(
            icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
        icu::ParsePosition position(0);
        const UDate date = _format->parse(characters, position);
        if (position.getIndex() == 0 || position.getErrorIndex() >= 0)
            return std::nullopt;
        return date;
    }

    static QDateTime dateTime(std::optional<UDate> milliseconds) {
        if (!milliseconds)
            return {};
        return QDateTime::fromMSecsSinceEpoch(std::llround(*milliseconds), Qt::UTC);
    }

    /// In bytes. ICU's sizes are 32-bit integers.
    static constexpr size_t maxTextBytes = 1U << 30U;
    static constexpr size_t maxZones = 16;

    QString _pattern;
    icu::Locale _locale;
    std::unique_ptr<icu::SimpleDateFormat> _format;
    bool _prepared = false;
    bool _quick = false;
    std::array<Name, 7> _weekdays;
    std::array<Name, 12> _months;
    std::vector<Name> _zones;
};

QString DateFormatter::userLocaleIdentifier() {
    QString formats;
    for (const char *const variable : {"LC_ALL", "LC_TIME", "LANG"}) {
        formats = QString::fromLatin1(qgetenv(variable));
        if (!formats.isEmpty())
            break;
    }
    return localeIdentifier(preferredLanguages().first(), formats);
}

QString DateFormatter::localeIdentifier(const QString &language, const QString &formats) {
    const bool isEnglish = language.isEmpty() || language == u"C" || language == u"POSIX";
    const icu::Locale asked = icuLocale(isEnglish ? QStringLiteral("en") : language);
    const std::string region = regionIn(formats);
    icu::Locale locale = icuLocale(asked.getLanguage(), asked.getScript(), region);
    // The region may imply another script or calendar than news in this language uses: keep those
    // of the language.
    const icu::Locale whole = withLikelySubtags(asked);
    if (std::string_view(whole.getScript()) != withLikelySubtags(locale).getScript())
        locale = icuLocale(asked.getLanguage(), whole.getScript(), region);
    if (const std::string calendar = calendarOf(asked); calendar != calendarOf(locale))
        locale = withCalendar(locale, calendar);
    return QString::fromLatin1(locale.getName());
}

DateFormatter::DateFormatter(QString pattern, const QString &localeIdentifier)
    : _icu(std::make_unique<Icu>(std::move(pattern), icuLocale(localeIdentifier))) {}

DateFormatter::~DateFormatter() = default;

QDateTime DateFormatter::dateFromString(QUtf8StringView text) {
    const std::string_view date(reinterpret_cast<const char *>(text.data()),
                                static_cast<size_t>(text.size()));
    if (const QDateTime read = _icu->read(date); read.isValid())
        return read;
    if (!_fallback)
        _fallback = _icu->withoutRegion();
    return _fallback ? _fallback->read(date) : QDateTime();
}

}  // namespace pelorinnews
