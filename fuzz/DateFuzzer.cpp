#include "DateFormatter.h"

#include <array>
#include <cmath>
#include <unicode/smpdtfmt.h>

using namespace pelorinnews;

namespace {

constexpr std::array<const char *, 6> locales = {"en_US", "de_DE", "fr_FR",
                                                 "vi_VN", "ar_EG", "th_TH"};

/// What ICU makes of `text`, in milliseconds since the epoch; absent when it makes nothing of it.
std::optional<qint64> readByIcu(const icu::SimpleDateFormat &format, std::string_view text) {
    icu::ParsePosition position(0);
    const UDate date = format.parse(
        icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())}), position);
    if (position.getErrorIndex() >= 0 || position.getIndex() == 0)
        return std::nullopt;
    return std::llround(date);
}

}  // namespace

/// The first byte picks a locale; the rest are dates, one a line, all read by one formatter. Each
/// must come out as ICU alone reads it, also after others have been read.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0 || size > 4096)
        return 0;
    static std::array<std::unique_ptr<icu::SimpleDateFormat>, locales.size()> formats;
    const size_t index = data[0] % locales.size();
    const QString pattern = QStringLiteral("EEE, dd LLL yyyy HH:mm:ss zzz");
    if (!formats.at(index)) {
        UErrorCode status = U_ZERO_ERROR;
        formats.at(index) = std::make_unique<icu::SimpleDateFormat>(
            icu::UnicodeString(false, pattern.utf16(), static_cast<int32_t>(pattern.size())),
            icu::Locale(locales.at(index)), status);
        formats.at(index)->setLenient(false);
    }
    DateFormatter formatter(pattern, QString::fromLatin1(locales.at(index)));
    const QByteArray lines(reinterpret_cast<const char *>(data + 1),
                           static_cast<qsizetype>(size - 1));
    for (const QByteArray &line : lines.split('\n')) {
        const QDateTime date = formatter.dateFromString(QUtf8StringView(line));
        const auto expected =
            readByIcu(*formats.at(index), {line.constData(), static_cast<size_t>(line.size())});
        const QDateTime expectedDate =
            expected ? QDateTime::fromMSecsSinceEpoch(*expected, Qt::UTC) : QDateTime();
        if (date != expectedDate)
            qFatal("%s: %s instead of %s", line.constData(),
                   qPrintable(date.toString(Qt::ISODateWithMs)),
                   qPrintable(expectedDate.toString(Qt::ISODateWithMs)));
    }
    return 0;
}
