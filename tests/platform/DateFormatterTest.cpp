#include "TestMain.h"
#include "platform/DateFormatter.h"

#include <QProcess>

#include <cmath>
#include <cstdio>
#include <unicode/dtfmtsym.h>
#include <unicode/smpdtfmt.h>

using namespace pelorinnews;

namespace {

const QString printArgument = QStringLiteral("--print-identifier");
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

/// The instant that ICU itself parses from `date`; invalid if ICU rejects it.
QDateTime readByIcu(const icu::SimpleDateFormat &format, const QString &date) {
    icu::ParsePosition position(0);
    const UDate instant = format.parse(
        icu::UnicodeString(false, date.utf16(), static_cast<int32_t>(date.size())), position);
    if (position.getErrorIndex() >= 0 || position.getIndex() == 0)
        return {};
    return QDateTime::fromMSecsSinceEpoch(std::llround(instant), Qt::UTC);
}

/// `locale` without its region.
icu::Locale withoutRegion(const icu::Locale &locale) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale whole = locale;
    whole.addLikelySubtags(status);
    return {whole.getLanguage(), whole.getScript()};
}

/// Formats dates as feeds do, in GMT.
std::unique_ptr<icu::SimpleDateFormat> writerFor(const icu::Locale &locale) {
    auto writer = formatFor(locale);
    writer->setTimeZone(*icu::TimeZone::getGMT());
    return writer;
}

QString written(const icu::SimpleDateFormat &writer, qint64 instant) {
    icu::UnicodeString characters;
    return text(writer.format(static_cast<UDate>(instant) * 1000, characters));
}

/// Days of 2026, at ten o'clock: each of the twelve months with each of the seven weekdays.
QList<qint64> everyMonthAndWeekday() {
    QList<qint64> instants;
    for (int month = 1; month <= 12; ++month) {
        for (int day = 10; day < 17; ++day)
            instants
                << QDateTime(QDate(2026, month, day), QTime(10, 0), Qt::UTC).toSecsSinceEpoch();
    }
    return instants;
}

/// `date` and variants of it that are slightly wrong.
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

/// The result of `DateFormatter::userLocaleIdentifier` in an environment that has these variables
/// ("LANG=de_DE") and no others that name a language. Runs in another process, because Qt reads
/// these variables only once per process.
QString identifierUnder(const QStringList &variables) {
    QProcess other;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *const name : {"LC_ALL", "LC_TIME", "LC_MESSAGES", "LANG", "LANGUAGE"})
        environment.remove(QString::fromLatin1(name));
    for (const QString &variable : variables)
        environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
    other.setProcessEnvironment(environment);
    other.start(QCoreApplication::applicationFilePath(), {printArgument});
    if (!other.waitForFinished(testPatience) || other.exitCode() != 0)
        return other.errorString();
    return QString::fromUtf8(other.readAllStandardOutput());
}

}  // namespace

class DateFormatterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theUsersLocaleIsOfOneLanguage_data() {
        QTest::addColumn<QString>("variables");
        QTest::addColumn<QString>("identifier");
        const auto row = [](const char *variables, const char *identifier) {
            QTest::newRow(*variables ? variables : "nothing")
                << QString::fromLatin1(variables) << QString::fromLatin1(identifier);
        };
        row("LANG=en_US.UTF-8 LC_TIME=de_DE.UTF-8", "en_DE");
        row("LANG=en_US LANGUAGE=de:en", "de_US");
        row("LANG=de_DE LANGUAGE=en_US", "en_DE");
        row("LANG=de_DE LC_TIME=C.UTF-8", "de");
        row("LANG=de_DE LC_TIME=POSIX", "de");
        row("LC_ALL=de_AT.UTF-8 LC_TIME=en_US LANG=fr_FR", "de_AT");
        row("LC_ALL= LC_TIME= LANG=th_TH.UTF-8", "th_TH");
        row("LANG=de_DE LC_MESSAGES=fr_FR", "fr_DE");
        row("LANG=de_DE.ISO-8859-15@euro", "de_DE");
        row("LANG=sr_RS@latin", "sr_Latn_RS");
        row("LANG=sr_RS.UTF-8@latin LC_TIME=C", "sr_Latn");
        row("LANG=sr_RS LANGUAGE=sr@latin:en", "sr_Latn_RS");
        row("LC_ALL=C", "en");
        row("LC_ALL=C.UTF-8", "en");
        row("LC_ALL=POSIX", "en");
        row("LC_ALL=.UTF-8", "en");
        row("LC_ALL=@latin", "en");
        row("LANG=garbage LC_TIME=_", "en");
        row("", "en");
    }

    void theUsersLocaleIsOfOneLanguage() {
        QFETCH(const QString, variables);
        QFETCH(const QString, identifier);
        QCOMPARE(identifierUnder(variables.split(u' ', Qt::SkipEmptyParts)), identifier);
    }

    void onlyTheRegionIsThatOfTheFormats_data() {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("formats");
        QTest::addColumn<QString>("identifier");
        const auto row = [](const char *language, const char *formats, const char *identifier) {
            QTest::addRow("%s with %s", language, formats)
                << QString::fromLatin1(language) << QString::fromLatin1(formats)
                << QString::fromLatin1(identifier);
        };
        row("en-US", "de_DE.UTF-8", "en_DE");
        row("de", "en_GB", "de_GB");
        row("en-GB", "", "en");
        row("C", "de_DE", "en_DE");
        row("", "", "en");
        row("en-US", "de-AT", "en_AT");
        row("es-419", "de_DE", "es_DE");
        row("en-US", "es_419", "en_419");
        // The script is always that of the requested language.
        row("sr-RS", "sr_ME", "sr_Cyrl_ME");
        row("sr-Latn-RS", "de_DE", "sr_Latn_DE");
        row("sr-RS", "sr_RS@latin", "sr_RS");
        row("zh-TW", "zh_CN", "zh_Hant_CN");
        row("zh-TW", "C", "zh_Hant");
        // The calendar is always that of the requested language.
        row("en-US", "th_TH", "en_TH@calendar=gregorian");
        row("en-TH", "th_TH", "en_TH");
        row("th-TH", "th_TH", "th_TH");
        row("th-TH", "en_US", "th_US@calendar=buddhist");
        row("fa", "en_US", "fa_US@calendar=persian");
    }

    void onlyTheRegionIsThatOfTheFormats() {
        QFETCH(const QString, language);
        QFETCH(const QString, formats);
        QTEST(DateFormatter::localeIdentifier(language, formats), "identifier");
    }

    void everyRegionsEnglishAndGermanReadsItsOwnNamesAndThoseOfTheLanguage() {
        int32_t count = 0;
        const icu::Locale *const locales = icu::Locale::getAvailableLocales(count);
        QMap<QByteArray, int> regions;
        for (int32_t i = 0; i < count; ++i) {
            const QByteArray language = locales[i].getLanguage();
            if ((language != "en" && language != "de") || *locales[i].getCountry() == '\0')
                continue;
            ++regions[language];
            // First a user whose language and date format both have this region, then one whose
            // date format alone has it.
            for (const QString &preferred :
                 {QString::fromLatin1(locales[i].getName()), QString::fromLatin1(language)}) {
                DateFormatter formatter(pattern,
                                        DateFormatter::localeIdentifier(
                                            preferred, QString::fromLatin1(locales[i].getName())));
                const auto own = writerFor(locales[i]);
                const auto plain = writerFor(icu::Locale(language.constData()));
                for (const qint64 instant : everyMonthAndWeekday()) {
                    for (const QString &date : {written(*own, instant), written(*plain, instant)}) {
                        const QDateTime read = formatter.dateFromString(date.toUtf8());
                        if (read != QDateTime::fromSecsSinceEpoch(instant, Qt::UTC))
                            QFAIL(qPrintable(date + QStringLiteral(" is misread in the locale ") +
                                             QLatin1String(locales[i].getName())));
                    }
                }
            }
        }
        QVERIFY(regions["en"] > 90);
        QVERIFY(regions["de"] >= 6);
    }

    void whatIsWrittenForTheLanguageIsReadInAnyRegion_data() {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("formats");
        const auto row = [](const char *language, const char *formats) {
            QTest::addRow("%s with %s", language, formats)
                << QString::fromLatin1(language) << QString::fromLatin1(formats);
        };
        for (const char *const formats : {"de_DE", "C.UTF-8", "th_TH", "fa_IR", "ar_SA", "ja_JP"}) {
            for (const char *const language : {"en-US", "de-DE", "fr", "sr-Latn-RS", "zh-TW"})
                row(language, formats);
        }
        for (const char *const formats : {"en_US", "de_DE", "C.UTF-8"}) {
            for (const char *const language : {"th-TH", "fa-IR", "ar-EG"})
                row(language, formats);
        }
    }

    void whatIsWrittenForTheLanguageIsReadInAnyRegion() {
        QFETCH(const QString, language);
        QFETCH(const QString, formats);
        DateFormatter formatter(pattern, DateFormatter::localeIdentifier(language, formats));
        const auto writer = writerFor(icu::Locale::createCanonical(qPrintable(language)));
        for (const qint64 instant : everyMonthAndWeekday()) {
            const QString date = written(*writer, instant);
            const QDateTime read = formatter.dateFromString(date.toUtf8());
            QVERIFY2(read == QDateTime::fromSecsSinceEpoch(instant, Qt::UTC), qPrintable(date));
        }
    }

    void aRegionWithACalendarOfItsOwnReadsThatOfItsLanguage() {
        const auto egypt = writerFor(icu::Locale::createCanonical("ar_EG"));
        const auto arabia = writerFor(icu::Locale::createCanonical("ar_SA"));
        DateFormatter formatter(pattern, DateFormatter::localeIdentifier("ar-SA", "ar_SA"));
        for (const qint64 instant : everyMonthAndWeekday()) {
            for (const auto &writer : {egypt.get(), arabia.get()}) {
                const QString date = written(*writer, instant);
                QCOMPARE(formatter.dateFromString(date.toUtf8()),
                         QDateTime::fromSecsSinceEpoch(instant, Qt::UTC));
            }
        }
    }

    void aDateInAnotherLanguageIsNone() {
        for (const auto &[language, formats] :
             {std::pair("en-US", "de_DE"), {"en-GB", "en_GB"}, {"en", "C"}}) {
            DateFormatter formatter(pattern, DateFormatter::localeIdentifier(
                                                 QLatin1String(language), QLatin1String(formats)));
            QVERIFY(!formatter.dateFromString("Mo., 02 Mär 2015 10:00:00 GMT").isValid());
            QVERIFY(!formatter.dateFromString("lun., 02 mars 2015 10:00:00 GMT").isValid());
        }
        DateFormatter formatter(pattern, DateFormatter::localeIdentifier("de-DE", "en_US"));
        QVERIFY(!formatter.dateFromString("Mon, 02 Mar 2015 10:00:00 GMT").isValid());
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
            const auto fallback = formatFor(withoutRegion(locales[i]));
            QStringList dates = {QStringLiteral("Mon, 02 Mar 2015 10:00:00 GMT")};
            const auto own = writerFor(locales[i]);
            const auto plain = writerFor(withoutRegion(locales[i]));
            for (const qint64 instant : {1425290400, 1456740000, 1767175200})
                dates << written(*own, instant) << written(*plain, instant);
            // Each date twice, so that the second reading is a cache hit.
            dates += dates;
            // Variants in every eighth locale only, because ICU rejects them slowly: it looks for
            // time zone names in all languages.
            if (i % 8 == 0)
                dates += variantsOf(dates.at(i / 8 % 4));
            DateFormatter formatter(pattern, QString::fromLatin1(locales[i].getName()));
            for (const QString &date : std::as_const(dates)) {
                QDateTime expected = readByIcu(*icu, date);
                if (!expected.isValid())
                    expected = readByIcu(*fallback, date);
                const QDateTime actual = formatter.dateFromString(date.toUtf8());
                if (actual != expected)
                    QFAIL(qPrintable(
                        QStringLiteral("%1 in the locale %2 is read as %3 instead of %4")
                            .arg(date, QLatin1String(locales[i].getName()),
                                 actual.toString(Qt::ISODate), expected.toString(Qt::ISODate))));
                ++(expected.isValid() ? valid : invalid);
            }
        }
        // Enough valid and invalid dates were compared.
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
        const auto writer = writerFor(icu::Locale(locale.toLatin1().constData()));
        DateFormatter formatter(pattern, locale);
        for (int pass = 0; pass < 2; ++pass) {
            for (qint64 day = 16000; day < 16800; day += 3) {
                // The first pass parses every day at midnight, the second at varying times of the
                // day.
                const qint64 instant = day * 86'400 + (pass == 0 ? 0 : day * 7919 % 86'400);
                const QString date = written(*writer, instant);
                const QDateTime expected = readByIcu(*icu, date);
                QCOMPARE(expected, QDateTime::fromSecsSinceEpoch(instant, Qt::UTC));
                QCOMPARE(formatter.dateFromString(date.toUtf8()), expected);
            }
        }
    }
};

int main(int argc, char *argv[]) {
    const test::TestHome home;
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == printArgument)
        return std::fputs(qPrintable(DateFormatter::userLocaleIdentifier()), stdout) < 0;
    DateFormatterTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "DateFormatterTest.moc"
