#include "FeedTemplate.h"

#include <QRegularExpression>

#include <memory>
#include <unicode/calendar.h>
#include <unicode/smpdtfmt.h>

namespace pelorinnews {

namespace {

qint64 offsetSeconds(const QString &terms) {
    static const QRegularExpression term(QStringLiteral("([+-]?)(\\d{1,6})([dhms])"));
    qint64 sign = 1;
    qint64 seconds = 0;
    for (auto found = term.globalMatch(terms); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        if (!match.captured(1).isEmpty())
            sign = match.captured(1) == QLatin1String("-") ? -1 : 1;
        const QChar unit = match.captured(3).at(0);
        const qint64 length = unit == QLatin1Char('d')   ? 86400
                              : unit == QLatin1Char('h') ? 3600
                              : unit == QLatin1Char('m') ? 60
                                                         : 1;
        seconds += sign * match.captured(2).toLongLong() * length;
    }
    return seconds;
}

/// A formatter of publication dates with the calendar of `locale`, and with the names of its
/// language and script. It ignores names that are peculiar to the region, so that the dates can be
/// parsed in every region of the language.
icu::SimpleDateFormat formatter(const QString &locale) {
    const icu::Locale asked =
        icu::Locale::createCanonical(locale.isEmpty() ? "en" : qPrintable(locale));
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale whole = asked;
    whole.addLikelySubtags(status);
    icu::Locale language(whole.getLanguage(), whole.getScript());
    const std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(asked, status));
    if (calendar)
        language.setKeywordValue("calendar", calendar->getType(), status);
    status = U_ZERO_ERROR;
    icu::SimpleDateFormat format(icu::UnicodeString("EEE, dd LLL yyyy HH:mm:ss zzz"), language,
                                 status);
    format.adoptTimeZone(icu::TimeZone::createTimeZone("GMT"));
    return format;
}

QString formatted(const icu::SimpleDateFormat &format, const QDateTime &date) {
    icu::UnicodeString text;
    format.format(static_cast<UDate>(date.toMSecsSinceEpoch()), text);
    return QString::fromUtf16(text.getBuffer(), text.length());
}

}  // namespace

QByteArray FeedTemplate::render(const QByteArray &text, const QString &locale,
                                const QDateTime &now) {
    static const QRegularExpression place(
        QStringLiteral("\\{\\{now((?:[+-]\\d{1,6}[dhms](?:\\d{1,6}[dhms])*)*)\\}\\}"));
    if (!text.contains("{{now"))
        return text;
    const icu::SimpleDateFormat format = formatter(locale);
    // Latin-1 preserves every byte during the search, so a feed that is not UTF-8 stays as it is.
    const QString source = QString::fromLatin1(text);
    QByteArray rendered;
    qsizetype copied = 0;
    for (auto found = place.globalMatch(source); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        rendered += text.mid(copied, match.capturedStart() - copied);
        rendered += formatted(format, now.addSecs(offsetSeconds(match.captured(1)))).toUtf8();
        copied = match.capturedEnd();
    }
    return rendered + text.mid(copied);
}

QString FeedTemplate::publicationDate(const QDateTime &date, const QString &locale) {
    return formatted(formatter(locale), date);
}

}  // namespace pelorinnews
