#include "DateFormatter.h"
#include "TestMain.h"

#include <cmath>
#include <unicode/dtfmtsym.h>
#include <unicode/smpdtfmt.h>

using namespace pelorinnews;

namespace {

const QString pattern = QStringLiteral("EEE, dd LLL yyyy HH:mm:ss zzz");

std::unique_ptr<icu::SimpleDateFormat> formatFor(const icu::Locale &locale) {
    UErrorCode status = U_ZERO_ERROR;
    auto format = std::make_unique<icu::SimpleDateFormat>(
        icu::UnicodeString(false, pattern.utf16(), static_cast<int32_t>(pattern.size())), locale,
        status);
    if (U_FAILURE(status))
        return nullptr;
    format->setLenient(false);
    return format;
}

QString text(const icu::UnicodeString &characters) {
    return QString::fromUtf16(characters.getBuffer(), characters.length());
}

/// What ICU itself makes of `date`.
QDateTime readByIcu(const icu::SimpleDateFormat &format, const QString &date) {
    icu::ParsePosition position(0);
    const UDate instant = format.parse(
        icu::UnicodeString(false, date.utf16(), static_cast<int32_t>(date.size())), position);
    if (position.getErrorIndex() >= 0 || position.getIndex() == 0)
        return {};
    return QDateTime::fromMSecsSinceEpoch(std::llround(instant), Qt::UTC);
}

/// `date` and the ways in which it may be not quite right.
QStringList variantsOf(const QString &date) {
    QStringList variants = {date,
                            date.toLower(),
                            date.toUpper(),
                            QLatin1Char(' ') + date,
                            date + QLatin1Char('\n'),
                            date + QStringLiteral(" and more"),
                            date + QStringLiteral("+01:00"),
                            date.chopped(1),
                            date.sliced(1),
                            QString(date).replace(u',', QString()),
                            QString(date).replace(QStringLiteral("10:"), QStringLiteral("24:")),
                            QString(date).replace(QStringLiteral(", 0"), QStringLiteral(", ")),
                            QString(date).replace(QStringLiteral(", 0"), QStringLiteral(", 3")),
                            QString(date).replace(QStringLiteral("20"), QString())};
    for (const char *const zone : {"UTC", "Z", "UT", "+0000", "-0430", "+1400", "+1500", "+0060",
                                   "+2359", "EST", "CET", "GMT+1", "GMT+01:00", ""})
        variants << QString(date).replace(QStringLiteral("GMT"), QString::fromLatin1(zone));
    return variants;
}

/// The three variables that name the user's locale, null for one that is not set.
class Environment {
public:
    explicit Environment(const char *all, const char *time = nullptr, const char *lang = nullptr) {
        set("LC_ALL", all);
        set("LC_TIME", time);
        set("LANG", lang);
    }
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;
    ~Environment() {
        for (const auto &[name, value] : before)
            qputenv(name, value);
    }

private:
    void set(const char *name, const char *value) {
        before.append({name, qgetenv(name)});
        if (value)
            qputenv(name, value);
        else
            qunsetenv(name);
    }

    QList<std::pair<const char *, QByteArray>> before;
};

}  // namespace

class DateFormatterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theUsersLocaleIsTheFirstSetOfThree() {
        {
            const Environment environment("de_DE.UTF-8", "fr_FR");
            QCOMPARE(DateFormatter::userLocaleIdentifier(), QStringLiteral("de_DE"));
        }
        {
            const Environment environment("", "fr_FR", "th");
            QCOMPARE(DateFormatter::userLocaleIdentifier(), QStringLiteral("fr_FR"));
        }
        const Environment environment(nullptr, nullptr, "th_TH.UTF-8");
        QCOMPARE(DateFormatter::userLocaleIdentifier(), QStringLiteral("th_TH"));
    }

    void noLocaleAndThePortableOnesCountAsEnglish() {
        for (const char *const name : {"", "C", "C.UTF-8", "POSIX", ".UTF-8"}) {
            const Environment environment(name);
            QCOMPARE(DateFormatter::userLocaleIdentifier(), QStringLiteral("en"));
        }
        const Environment environment(nullptr);
        QCOMPARE(DateFormatter::userLocaleIdentifier(), QStringLiteral("en"));
    }

    void aModifierThatNamesAScriptIsKept() {
        {
            const Environment environment("sr_RS@latin");
            QCOMPARE(DateFormatter::userLocaleIdentifier(), QStringLiteral("sr_Latn_RS"));
        }
        const Environment environment("de_DE.ISO-8859-15@euro");
        QCOMPARE(DateFormatter::userLocaleIdentifier(), QStringLiteral("de_DE"));
    }

    void aFormatterKeepsTheLocaleItWasMadeWith() {
        const Environment environment("en_US");
        DateFormatter formatter(pattern);
        qputenv("LC_ALL", "de_DE");
        QVERIFY(formatter.dateFromString("Mon, 02 Mar 2015 10:00:00 GMT").isValid());
    }

    void anotherPatternIsReadToo() {
        DateFormatter formatter(QStringLiteral("yyyy-MM-dd'T'HH:mm:ssXXX"), QStringLiteral("en"));
        QCOMPARE(formatter.dateFromString("2015-03-02T12:00:00+02:00"),
                 QDateTime(QDate(2015, 3, 2), QTime(10, 0), Qt::UTC));
        QVERIFY(!formatter.dateFromString("Mon, 02 Mar 2015 10:00:00 GMT").isValid());
    }

    void nonsenseIsNoDate() {
        DateFormatter formatter(pattern, QStringLiteral("en"));
        const QByteArray huge(1'000'000, 'x');
        for (const QByteArray &nonsense :
             {QByteArray(), QByteArray(""), QByteArray("\xFF\xFE"), QByteArray("\0", 1), huge,
              QByteArray("Mon"), QByteArray("Mon, "), QByteArray("Mon, 02 Mar 2015 10:00:00 "),
              QByteArray("Mon, 02 Mar 2015 10:00:00 \xC3")})
            QVERIFY(!formatter.dateFromString(QUtf8StringView(nonsense)).isValid());
    }

    void aPatternThatIsNoneReadsNothing() {
        DateFormatter formatter(QStringLiteral("'"), QStringLiteral("en"));
        QVERIFY(!formatter.dateFromString("Mon, 02 Mar 2015 10:00:00 GMT").isValid());
    }

    void datesFarAndNearAreWhatIcuSays() {
        const auto icu = formatFor(icu::Locale("en_US"));
        DateFormatter formatter(pattern, QStringLiteral("en_US"));
        for (int year = 1; year < 10000; year += year < 1500 || year > 2100 ? 97 : 1) {
            for (const char *const day : {"01 Jan", "28 Feb", "29 Feb", "31 Dec"}) {
                const QString date = QStringLiteral("Mon, %1 %2 23:59:59 GMT")
                                         .arg(QLatin1String(day))
                                         .arg(year, 4, 10, QLatin1Char('0'));
                QCOMPARE(formatter.dateFromString(date.toUtf8()), readByIcu(*icu, date));
            }
        }
    }

    void everyLocaleReadsWhatIcuReads() {
        int32_t count = 0;
        const icu::Locale *const locales = icu::Locale::getAvailableLocales(count);
        QVERIFY(count > 500);
        int valid = 0;
        int invalid = 0;
        for (int32_t i = 0; i < count; ++i) {
            const auto icu = formatFor(locales[i]);
            QVERIFY(icu);
            QStringList dates = {QStringLiteral("Mon, 02 Mar 2015 10:00:00 GMT")};
            for (const qint64 instant : {1425290400, 1456740000, 1767175200}) {
                icu::UnicodeString written;
                std::unique_ptr<icu::SimpleDateFormat> writer(icu->clone());
                writer->setTimeZone(*icu::TimeZone::getGMT());
                dates << text(writer->format(static_cast<UDate>(instant) * 1000, written));
            }
            // Twice each: what was once read counts in the second reading.
            dates += dates;
            // Variants are slow to refuse: ICU looks for zones by name in all languages.
            if (i % 8 == 0)
                dates += variantsOf(dates.at(i / 8 % 4));
            DateFormatter formatter(pattern, QString::fromLatin1(locales[i].getName()));
            for (const QString &date : std::as_const(dates)) {
                const QDateTime expected = readByIcu(*icu, date);
                const QDateTime actual = formatter.dateFromString(date.toUtf8());
                if (actual != expected)
                    QFAIL(qPrintable(QStringLiteral("%1 under %2: %3 instead of %4")
                                         .arg(date, QLatin1String(locales[i].getName()),
                                              actual.toString(Qt::ISODate),
                                              expected.toString(Qt::ISODate))));
                ++(expected.isValid() ? valid : invalid);
            }
        }
        // Neither half of the comparison is empty.
        QVERIFY(valid > count * 6);
        QVERIFY(invalid > count * 2);
    }

    void everyNameOfALocaleIsReadAsIcuReadsIt_data() {
        QTest::addColumn<QString>("locale");
        for (const char *const locale :
             {"en", "de", "fr", "es", "it", "pt", "nl", "sv", "pl", "ru",
              "tr", "ja", "zh", "ko", "vi", "ar", "he", "hi", "th", "fa"})
            QTest::newRow(locale) << QString::fromLatin1(locale);
    }

    void everyNameOfALocaleIsReadAsIcuReadsIt() {
        QFETCH(const QString, locale);
        const auto icu = formatFor(icu::Locale(locale.toLatin1().constData()));
        icu->setTimeZone(*icu::TimeZone::getGMT());
        DateFormatter formatter(pattern, locale);
        for (int pass = 0; pass < 2; ++pass) {
            for (qint64 day = 16000; day < 16800; day += 3) {
                // Names are met at midnight first, then again at all times of the day.
                const qint64 instant = day * 86'400 + (pass == 0 ? 0 : day * 7919 % 86'400);
                icu::UnicodeString written;
                const QString date = text(icu->format(static_cast<UDate>(instant) * 1000, written));
                const QDateTime expected = readByIcu(*icu, date);
                QCOMPARE(expected, QDateTime::fromSecsSinceEpoch(instant, Qt::UTC));
                QCOMPARE(formatter.dateFromString(date.toUtf8()), expected);
            }
        }
    }
};

PELORIN_CORE_TEST_MAIN(DateFormatterTest)
#include "DateFormatterTest.moc"
