#pragma once

#include <QDateTime>
#include <QString>
#include <QUtf8StringView>

#include <memory>

namespace pelorinnews {

/// Reads dates by a Unicode date-format pattern, not leniently: a one-digit day where the pattern
/// has two, or 32 March, does not match.
///
/// Day and month names are those of the formatter's locale, in its own calendar and digits. A text
/// that does not match is tried once more with the names of the language and script without the
/// region: regional abbreviations change with every release of Unicode's locale data ("Sept" in
/// most English regions, "Sep" in English). Time zone names that a text leaves out are the user's.
///
/// Making a formatter costs nothing until the first date, which costs some 0.1 ms; dates after it
/// in the common form cost next to nothing. A formatter belongs to one thread at a time, and sees
/// the user's locale as it was when it was made: do not keep one.
class DateFormatter {
public:
    /// The user's locale for dates, a Unicode locale identifier ("en_DE"): that of the first
    /// preferred language with the region of the first of LC_ALL, LC_TIME and LANG that is not
    /// empty.
    static QString userLocaleIdentifier();

    /// The locale of a user who prefers `language` ("en-US") and whose formats are those of the
    /// POSIX locale `formats` ("de_DE.UTF-8"; it may name no region, as "C" does not): "en_DE".
    /// Only the region is taken from `formats`; the script and the calendar are the ones in which
    /// news in `language` is written. Without a language, or with "C" for one, it is English.
    static QString localeIdentifier(const QString &language, const QString &formats);

    explicit DateFormatter(QString pattern,
                           const QString &localeIdentifier = userLocaleIdentifier());
    ~DateFormatter();
    DateFormatter(const DateFormatter &) = delete;
    DateFormatter &operator=(const DateFormatter &) = delete;

    /// The instant that `text` names, in UTC; invalid when the text does not match the pattern.
    /// White space before the date and anything after it are no part of the match.
    [[nodiscard]] QDateTime dateFromString(QUtf8StringView text);

private:
    class Icu;
    std::unique_ptr<Icu> icu;
    /// Without the region; made when it is first needed.
    std::unique_ptr<Icu> fallback;
};

}  // namespace pelorinnews
