#include "TestMain.h"
#include "platform/FileNamePattern.h"

namespace pelorinnews::test {

class FileNamePatternTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void comparesTheWholeName_data();
    void comparesTheWholeName();
    void countsAByteThatIsNoTextAsOneCharacter();
    void matchesNothingWhereNoNameCan();
    void takesManyStarsWithoutTakingLong();
    void asksTheIndexForTheSameNames_data();
    void asksTheIndexForTheSameNames();
};

void FileNamePatternTest::comparesTheWholeName_data() {
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("expected");
    const auto row = [](const char *pattern, const char *name, bool expected) {
        QTest::addRow("%s / %s", pattern, name)
            << QString::fromUtf8(pattern) << QString::fromUtf8(name) << expected;
    };
    row("Pelorin.app", "Pelorin.app", true);
    row("Pelorin.app", "pelorin.app", false);
    row("Pelorin.app", "Pelorin.ap", false);
    row("Pelorin.app", "Pelorin.app2", false);
    row("Pelorin.app", "My Pelorin.app", false);
    row("Pelorin.app", "Pelorinxapp", false);
    row("Pelorin*.app", "Pelorin.app", true);
    row("Pelorin*.app", "Pelorin 2 (copy).app", true);
    row("Pelorin*.app", "Pelorin.app.bak", false);
    row("*", "anything", true);
    row("*a*b*c", "xxaxxbxxc", true);
    row("*a*b*c", "xxaxxbxx", false);
    row("*.app", ".app", true);
    row("Pelorin?.app", "Pelorin2.app", true);
    row("Pelorin?.app", "Pelorin\xC3\xA9.app", true);
    row("Pelorin?.app", "Pelorin.app", false);
    row("Pelorin?.app", "Pelorin22.app", false);
    row("P\xC3\xA9lorin", "P\xC3\xA9lorin", true);
    row("P\xC3\xA9lorin", "Pelorin", false);
    row("[Pp]elorin", "Pelorin", false);
    row("[Pp]elorin", "[Pp]elorin", true);
    row("a\\*b", "a\\xxb", true);
    row("a\\b", "ab", false);
    row("two\nlines*", "two\nlines and more", true);
}

void FileNamePatternTest::comparesTheWholeName() {
    QFETCH(QString, pattern);
    QFETCH(QString, name);
    QFETCH(bool, expected);
    QCOMPARE(FileNamePattern::like(pattern).matches(name.toStdString()), expected);
}

void FileNamePatternTest::countsAByteThatIsNoTextAsOneCharacter() {
    const auto pattern = FileNamePattern::like(QStringLiteral("a?b"));
    QVERIFY(
        pattern.matches("a\xFF"
                        "b"));
    QVERIFY(
        pattern.matches("a\xC3"
                        "b"));
    QVERIFY(
        !pattern.matches("a\xFF\xFF"
                         "b"));
}

void FileNamePatternTest::matchesNothingWhereNoNameCan() {
    QVERIFY(!FileNamePattern().canMatch());
    QVERIFY(!FileNamePattern::like(QString()).canMatch());
    QVERIFY(!FileNamePattern::like(QStringLiteral("a/b")).canMatch());
    QVERIFY(!FileNamePattern::like(QStringLiteral("a") + QChar(0)).canMatch());
    QVERIFY(!FileNamePattern().matches("Pelorin.app"));
    QVERIFY(!FileNamePattern().matches(""));
    QVERIFY(FileNamePattern::like(QStringLiteral("*")).canMatch());
}

void FileNamePatternTest::takesManyStarsWithoutTakingLong() {
    const auto pattern = FileNamePattern::like(
        QString(60, QLatin1Char('a')).replace(QLatin1Char('a'), QLatin1String("*a")) +
        QLatin1Char('b'));
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!pattern.matches(std::string(255, 'a')));
    QVERIFY(clock.elapsed() < 1000);
}

void FileNamePatternTest::asksTheIndexForTheSameNames_data() {
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("condition");
    QTest::newRow("plain") << QStringLiteral("Pelorin.app")
                           << QStringLiteral("?f nfo:fileName ?n , \"Pelorin.app\" .");
    QTest::newRow("quotes") << QStringLiteral("a\"b\\c")
                            << QStringLiteral("?f nfo:fileName ?n , \"a\\\"b\\\\c\" .");
    QTest::newRow("wildcards")
        << QStringLiteral("P?l*.[a]")
        << QStringLiteral(
               "?f nfo:fileName ?n . FILTER(REGEX(?n, \"^P.l.*\\\\.\\\\[a\\\\]$\", \"s\"))");
}

void FileNamePatternTest::asksTheIndexForTheSameNames() {
    QFETCH(QString, pattern);
    QFETCH(QString, condition);
    QCOMPARE(FileNamePattern::like(pattern).sparqlCondition(), condition);
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::FileNamePatternTest)
#include "FileNamePatternTest.moc"
