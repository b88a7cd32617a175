#pragma once

#include <QDateTime>
#include <QString>
#include <QUtf8StringView>

#include <memory>

namespace pelorinnews {

/// Parses dates by a Unicode date-format pattern, strictly: a one-digit day where the pattern has
/// two, or 32 March, does not match.
///
/// Day and month names are those of the formatter's locale, in its own calendar and digits.
/// Fallback for a text that does not match: the names and the calendar of the language and script
/// without the region. Regional abbreviations change with every release of Unicode's locale data
/// ("Sept" in most English regions, "Sep" in English), and a few regions have a calendar of their
/// own (Saudi Arabia among those that read Arabic). If the pattern has no time zone, dates are in
/// the user's time zone.
///
/// Making a formatter costs nothing until the first date, which takes about 0.1 ms; later dates in
/// the common form cost next to nothing. A formatter belongs to one thread at a time. It keeps the
/// locale as of its construction: make a new one for each use.
class DateFormatter {
public:
    /// The user's locale for dates as a Unicode locale identifier ("en_DE"): the first preferred
    /// language, with the region of the first of LC_ALL, LC_TIME and LANG that is not empty.
    static QString userLocaleIdentifier();

    /// The locale of a user who prefers `language` and uses the formats of the POSIX locale
    /// `formats`: "en_DE" for "en-US" and "de_DE.UTF-8". Takes only the region from `formats`,
    /// which may have none ("C"). Script and calendar are those in which news in `language` is
    /// written. An empty language or "C" counts as English.
    static QString localeIdentifier(const QString &language, const QString &formats);

    explicit DateFormatter(QString pattern,
                           const QString &localeIdentifier = userLocaleIdentifier());
    ~DateFormatter();
    DateFormatter(const DateFormatter &) = delete;
    DateFormatter &operator=(const DateFormatter &) = delete;

    /// The instant that `text` names, in UTC; invalid if the text does not match the pattern.
    /// Ignores white space before the date and anything after it.
    [[nodiscard]] QDateTime dateFromString(QUtf8StringView text);

private:
    class Icu;
    std::unique_ptr<Icu> _icu;
    /// The formatter without the region; made when it is first needed.
    std::unique_ptr<Icu> _fallback;
};

}  // namespace pelorinnews
