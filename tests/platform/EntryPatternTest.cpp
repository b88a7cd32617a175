#include "TestMain.h"
#include "platform/EntryPattern.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

namespace pelorinnews::test {

class EntryPatternTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { _folder = std::make_unique<QTemporaryDir>(); }

    void noEntryMatchesWithoutAName();
    void theNameCountsWhole();
    void aLauncherIsNoMatch();
    void aProgramIsAnExecutableFileThatIsNoScript_data();
    void aProgramIsAnExecutableFileThatIsNoScript();
    void aFolderOfAProgramsNameIsJustAFolder();
    void aProgramThatMayNotBeReadIsAProgram();

private:
    QByteArray at(const QString &name) const { return QFile::encodeName(_folder->filePath(name)); }
    void write(const QString &name, const QByteArray &content, mode_t mode) const {
        QFile file(_folder->filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
        file.close();
        QCOMPARE(::chmod(at(name).constData(), mode), 0);
    }
    static EntryPattern like(const char *name, EntryPattern::Kind kind) {
        return {FileNamePattern::like(QLatin1String(name)), kind};
    }

    std::unique_ptr<QTemporaryDir> _folder;
};

using Kind = EntryPattern::Kind;

void EntryPatternTest::noEntryMatchesWithoutAName() {
    const EntryPattern none;
    QVERIFY(!none.mayMatch("", false));
    QVERIFY(!none.mayMatch("a", true));
    QVERIFY(!none.matches("/"));
    QVERIFY(!none.matches(QByteArray()));
}

void EntryPatternTest::theNameCountsWhole() {
    const EntryPattern pattern = like("P.app", Kind::Any);
    for (const char *name : {"P.app", "P.app2", "p.app", "aP.app"})
        QVERIFY(QDir(_folder->path()).mkdir(QLatin1String(name)));
    QVERIFY(pattern.matches(at(QStringLiteral("P.app"))));
    QVERIFY(!pattern.matches(at(QStringLiteral("P.app2"))));
    QVERIFY(!pattern.matches(at(QStringLiteral("p.app"))));
    QVERIFY(!pattern.matches(at(QStringLiteral("aP.app"))));
    QVERIFY(!pattern.matches(at(QStringLiteral("not/there/P.app"))));
}

void EntryPatternTest::aLauncherIsNoMatch() {
    write(QStringLiteral("Pelorin.AppImage"),
          "\x7f"
          "ELF",
          0755);
    QCOMPARE(::symlink("Pelorin.AppImage", at(QStringLiteral("Pelorin")).constData()), 0);
    QVERIFY(!like("Pelorin", Kind::Any).matches(at(QStringLiteral("Pelorin"))));
    QVERIFY(!like("Pelorin", Kind::Program).matches(at(QStringLiteral("Pelorin"))));
    QVERIFY(like("Pelorin*", Kind::Any).matches(at(QStringLiteral("Pelorin.AppImage"))));
    write(QStringLiteral("Pelorin.desktop"), "[Desktop Entry]\n", 0755);
    QVERIFY(!like("Pelorin*", Kind::Any).matches(at(QStringLiteral("Pelorin.desktop"))));
    QVERIFY(QDir(_folder->path()).mkdir(QStringLiteral("Pelorin2.desktop")));
    QVERIFY(like("Pelorin*", Kind::Any).matches(at(QStringLiteral("Pelorin2.desktop"))));
}

void EntryPatternTest::aProgramIsAnExecutableFileThatIsNoScript_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("isProgram");
    QTest::newRow("program") << QByteArray(
                                    "\x7f"
                                    "ELF")
                             << 0755 << true;
    QTest::newRow("for its owner only") << QByteArray(
                                               "\x7f"
                                               "ELF")
                                        << 0700 << true;
    QTest::newRow("for others only") << QByteArray(
                                            "\x7f"
                                            "ELF")
                                     << 0601 << true;
    QTest::newRow("not executable") << QByteArray(
                                           "\x7f"
                                           "ELF")
                                    << 0644 << false;
    QTest::newRow("script") << QByteArray("#!/bin/sh\nexec /opt/pelorin\n") << 0755 << false;
    QTest::newRow("one byte") << QByteArray("#") << 0755 << true;
    QTest::newRow("empty") << QByteArray() << 0755 << true;
}

void EntryPatternTest::aProgramIsAnExecutableFileThatIsNoScript() {
    QFETCH(const QByteArray, content);
    QFETCH(const int, mode);
    write(QStringLiteral("pelorin"), content, static_cast<mode_t>(mode));
    QTEST(like("pelorin", Kind::Program).matches(at(QStringLiteral("pelorin"))), "isProgram");
    QVERIFY(like("pelorin", Kind::Any).matches(at(QStringLiteral("pelorin"))));
}

void EntryPatternTest::aFolderOfAProgramsNameIsJustAFolder() {
    QVERIFY(QDir(_folder->path()).mkdir(QStringLiteral("pelorin")));
    const EntryPattern program = like("pelorin", Kind::Program);
    QVERIFY(!program.matches(at(QStringLiteral("pelorin"))));
    QVERIFY(!program.mayMatch("pelorin", true));
    QVERIFY(program.mayMatch("pelorin", false));
    QVERIFY(like("pelorin", Kind::Any).mayMatch("pelorin", true));
    QCOMPARE(::mkfifo(at(QStringLiteral("queue")).constData(), 0777), 0);
    QVERIFY(!like("queue", Kind::Program).matches(at(QStringLiteral("queue"))));
}

void EntryPatternTest::aProgramThatMayNotBeReadIsAProgram() {
    if (::geteuid() == 0)
        QSKIP("root may read every file");
    write(QStringLiteral("pelorin"), "#!", 0111);
    QVERIFY(like("pelorin", Kind::Program).matches(at(QStringLiteral("pelorin"))));
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::EntryPatternTest)
#include "EntryPatternTest.moc"
