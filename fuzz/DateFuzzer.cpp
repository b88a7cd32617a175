#include "platform/DateFormatter.h"

#include <array>
#include <cmath>
#include <unicode/smpdtfmt.h>

using namespace pelorinnews;

namespace {

/// Each locale, and the same locale without its region.
constexpr std::array<std::array<const char *, 2>, 8> locales = {{{"en_US", "en"},
                                                                 {"de_DE", "de"},
                                                                 {"fr_FR", "fr"},
                                                                 {"vi_VN", "vi"},
                                                                 {"ar_EG", "ar"},
                                                                 {"th_TH", "th"},
                                                                 {"en_GB", "en"},
                                                                 {"de_AT", "de"}}};
const QString pattern = QStringLiteral("EEE, dd LLL yyyy HH:mm:ss zzz");

std::unique_ptr<icu::SimpleDateFormat> formatFor(const char *locale) {
    UErrorCode status = U_ZERO_ERROR;
    auto format = std::make_unique<icu::SimpleDateFormat>(
        icu::UnicodeString(false, pattern.utf16(), static_cast<int32_t>(pattern.size())),
        icu::Locale(locale), status);
    format->setLenient(false);
    return format;
}

/// The date that ICU itself parses from `text`, in milliseconds since the epoch; absent if ICU
/// rejects it.
std::optional<qint64> readByIcu(const icu::SimpleDateFormat &format, std::string_view text) {
    icu::ParsePosition position(0);
    const UDate date = format.parse(
        icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())}), position);
    if (position.getErrorIndex() >= 0 || position.getIndex() == 0)
        return std::nullopt;
    return std::llround(date);
}

}  // namespace

/// The first byte selects a locale; the rest are dates, one per line, that one formatter parses.
/// Each result must be ICU's own: with the locale or, if ICU rejects the date, with the locale
/// without its region. Dates that the formatter has parsed earlier must not change the result.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0 || size > 4096)
        return 0;
    static std::array<std::array<std::unique_ptr<icu::SimpleDateFormat>, 2>, locales.size()> all;
    const size_t index = data[0] % locales.size();
    auto &formats = all.at(index);
    for (size_t i = 0; i < formats.size(); ++i) {
        if (!formats.at(i))
            formats.at(i) = formatFor(locales.at(index).at(i));
    }
    DateFormatter formatter(pattern, QString::fromLatin1(locales.at(index).front()));
    const QByteArray lines(reinterpret_cast<const char *>(data + 1),
                           static_cast<qsizetype>(size - 1));
    for (const QByteArray &line : lines.split('\n')) {
        const QDateTime date = formatter.dateFromString(QUtf8StringView(line));
        const std::string_view text(line.constData(), static_cast<size_t>(line.size()));
        auto expected = readByIcu(*formats.front(), text);
        if (!expected)
            expected = readByIcu(*formats.back(), text);
        const QDateTime expectedDate =
            expected ? QDateTime::fromMSecsSinceEpoch(*expected, Qt::UTC) : QDateTime();
        if (date != expectedDate)
            qFatal("%s: %s instead of %s", line.constData(),
                   qPrintable(date.toString(Qt::ISODateWithMs)),
                   qPrintable(expectedDate.toString(Qt::ISODateWithMs)));
    }
    return 0;
}
