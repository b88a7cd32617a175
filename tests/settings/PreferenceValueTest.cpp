#include "TestMain.h"
#include "settings/PreferenceValue.h"
#include "settings/UserDefaults.h"

#include <limits>

using namespace pelorinnews;

namespace {

constexpr qint64 maxInteger = std::numeric_limits<qint64>::max();
constexpr qint64 minInteger = std::numeric_limits<qint64>::min();
const QDateTime instant({2015, 3, 2}, {10, 0, 0, 123}, Qt::UTC);

}  // namespace

class PreferenceValueTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsEachKindOfValueTheSameBeforeAndAfterARestart_data() {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("asBool");
        QTest::addColumn<qint64>("asInteger");
        const auto row = [](const char *name, const QVariant &stored, bool asBool,
                            qint64 asInteger) {
            QTest::newRow(name) << stored << asBool << asInteger;
        };
        row("yes", true, true, 1);
        row("no", false, false, 0);
        row("0", 0, false, 0);
        row("3", 3, true, 3);
        row("-1", -1, true, -1);
        row("unsigned", 7U, true, 7);
        row("largest", maxInteger, true, maxInteger);
        row("smallest", minInteger, true, minInteger);
        row("unsigned beyond", std::numeric_limits<quint64>::max(), true, maxInteger);
        row("3.7", 3.7, true, 3);
        row("-3.7", -3.7, true, -3);
        row("0.5", 0.5, false, 0);
        row("1e20", 1e20, true, maxInteger);
        row("-1e20", -1e20, true, minInteger);
        row("2^63", 9223372036854775808.0, true, maxInteger);
        row("not a number", std::numeric_limits<double>::quiet_NaN(), false, 0);
        row("infinite", std::numeric_limits<double>::infinity(), false, 0);
        row("text 0", "0", false, 0);
        row("text -0", "-0", false, 0);
        row("text 1", "1", true, 1);
        row("text 007", "007", true, 7);
        row("text +5", "+5", true, 5);
        row("text -1", "-1", true, -1);
        row("text 3.7", "3.7", true, 3);
        row("text 1e3", "1e3", true, 1000);
        row("text with digits first", "12abc", true, 12);
        row("text with a zero among its first digits", "105abc", true, 105);
        row("text with digits last", "abc12", false, 0);
        row("text with a comma", "1,5", true, 1);
        row("text with white space", " 42 ", true, 42);
        row("text 2^63", "9223372036854775808.0", true, maxInteger);
        row("text -2^63", "-9223372036854775808.0", true, minInteger);
        row("text beyond 64 bits", "99999999999999999999", true, maxInteger);
        row("text below 64 bits", "-99999999999999999999", true, minInteger);
        row("text beyond doubles", QString(400, u'9'), true, maxInteger);
        row("text true", "true", true, 1);
        row("text false", "false", false, 0);
        row("text YES", "YES", true, 0);
        row("text y", "y", true, 0);
        row("text no", "no", false, 0);
        row("text NO", "NO", false, 0);
        row("text off", "off", false, 0);
        row("text on", "on", false, 0);
        row("text nan", "nan", false, 0);
        row("text inf", "inf", false, 0);
        row("hexadecimal text", "0x10", false, 0);
        row("Arabic digits", QString::fromUtf8("٣"), false, 0);
        row("sign alone", "-", false, 0);
        row("empty text", "", false, 0);
        row("list of one", QStringList{"5"}, true, 5);
        row("list of two", QStringList{"5", "6"}, false, 0);
        row("date", instant, false, 0);
        row("bytes", QByteArray("1"), false, 0);
        row("map", QVariantMap{{"a", 1}}, false, 0);
    }

    void readsEachKindOfValueTheSameBeforeAndAfterARestart() {
        QFETCH(QVariant, stored);
        QTEST(PreferenceValue::toBool(stored), "asBool");
        QTEST(PreferenceValue::toInteger(stored), "asInteger");

        const QVariant reread = throughFile(stored);
        QTEST(PreferenceValue::toBool(reread), "asBool");
        QTEST(PreferenceValue::toInteger(reread), "asInteger");
    }

    void nothingReadsAsNoAndZeroAndAbsent() {
        QCOMPARE(PreferenceValue::toBool({}), false);
        QCOMPARE(PreferenceValue::toInteger({}), 0);
        QVERIFY(PreferenceValue::toText({}).isNull());
        QVERIFY(!PreferenceValue::toDate({}).isValid());
    }

    void textsStandAsTheyAre() {
        const QStringList texts{
            "a",          "",           " a ",  "a,b;c", "@at",
            "%41",        "\"quoted\"", "a\nb", "1",     QString::fromUtf8("ünï 🦀"),
            "back\\slash"};
        for (const QString &text : texts) {
            QCOMPARE(PreferenceValue::toText(text), text);
            QCOMPARE(PreferenceValue::toText(throughFile(text)), text);
            QVERIFY(!PreferenceValue::toText(throughFile(text)).isNull());
        }
        QCOMPARE(PreferenceValue::toText(QStringList{"one"}), "one");
    }

    void whatIsNotTextHasNone() {
        for (const QVariant &value : {QVariant(5), QVariant(true), QVariant(1.5), QVariant(instant),
                                      QVariant(QStringList{"a", "b"}), QVariant(QByteArray("a"))})
            QVERIFY2(PreferenceValue::toText(value).isNull(), value.typeName());
    }

    void datesAreKeptToTheMillisecond() {
        QCOMPARE(PreferenceValue::toDate(instant), instant);
        QCOMPARE(PreferenceValue::toDate(throughFile(instant)), instant);
    }

    void datesAreReadFromTextsInIso8601() {
        QCOMPARE(PreferenceValue::toDate("2015-03-02T10:00:00.123Z"), instant);
        QCOMPARE(PreferenceValue::toDate("2015-03-02T11:00:00.123+01:00"), instant);
        for (const QVariant &value :
             {QVariant("yesterday"), QVariant(""), QVariant(5), QVariant(true)})
            QVERIFY2(!PreferenceValue::toDate(value).isValid(), qPrintable(value.toString()));
    }

    void absentValuesAreToldFromEmptyTexts() {
        for (const QVariant &value :
             {QVariant(), QVariant(QString()), QVariant(QDateTime()), QVariant(QStringList()),
              QVariant(QVariantList()), QVariant::fromValue(nullptr)})
            QVERIFY2(PreferenceValue::isAbsent(value), value.typeName());
        for (const QVariant &value : {QVariant(QStringLiteral("")), QVariant(0), QVariant(false),
                                      QVariant(instant), QVariant(QStringList{"a"})})
            QVERIFY2(!PreferenceValue::isAbsent(value), value.typeName());
    }

private:
    /// Writes `value` to a file and reads it as another process would. Each value has its own file,
    /// which is renamed once written, because QSettings caches what it has read from a path within
    /// a process.
    QVariant throughFile(const QVariant &value) {
        const QString written = _folder.filePath(QString::number(++_files));
        {
            UserDefaults defaults(written);
            defaults.setValue(QStringLiteral("key"), value);
            defaults.synchronize();
        }
        const QString moved = written + QStringLiteral(".moved");
        if (!QFile::rename(written, moved))
            return QStringLiteral("nothing was written");
        return UserDefaults(moved).objectForKey(QStringLiteral("key"));
    }

    QTemporaryDir _folder;
    int _files = 0;
};

PELORIN_CORE_TEST_MAIN(PreferenceValueTest)
#include "PreferenceValueTest.moc"
