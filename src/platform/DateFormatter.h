#pragma once

#include <QDateTime>
#include <QString>
#include <QUtf8StringView>

#include <memory>

namespace pelorinnews {

/// Reads dates by a Unicode date-format pattern, not leniently: a one-digit day where the pattern
/// has two, or 32 March, does not match.
///
/// Day and month names are those of the formatter's locale, in its own calendar and digits; time
/// zone names that a text leaves out are the user's. Making a formatter costs nothing until the
/// first date, which costs some 0.1 ms; dates after it in the common form cost next to nothing.
/// A formatter belongs to one thread at a time, and sees the user's locale as it was when it was
/// made: do not keep one.
class DateFormatter {
public:
    /// The user's locale for dates: LC_ALL, LC_TIME, LANG, the first that is not empty. "C",
    /// "POSIX" and none at all count as "en". A Unicode locale identifier ("de_DE").
    static QString userLocaleIdentifier();

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
};

}  // namespace pelorinnews
