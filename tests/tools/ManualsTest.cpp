#include "TestMain.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSet>

namespace {

using Names = QSet<QString>;

QString run(const QString &program, const QStringList &arguments) {
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(testPatience) || process.exitCode() != 0)
        qWarning("%s: %s", qPrintable(program), process.readAllStandardError().constData());
    return QString::fromUtf8(process.readAllStandardOutput());
}

QString contentOf(const QString &path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

Names namesIn(const QString &text, const char *expression) {
    Names names;
    const QRegularExpression pattern(QString::fromLatin1(expression),
                                     QRegularExpression::MultilineOption);
    for (auto found = pattern.globalMatch(text); found.hasNext();)
        names.insert(found.next().captured(1));
    return names;
}

QString fileOf(const QString &tool, const char *suffix) {
    return QStringLiteral(PELORIN_TEST_DATA "/../../tools/") + tool + QStringLiteral("/pelorin-") +
           tool + QLatin1String(suffix);
}

QString helpOf(const QString &tool) {
    return run(QStringLiteral(PELORIN_APP_DIR "/bin/pelorin-") + tool, {"--help"});
}

/// What the shell offers for the last of `words`.
Names completions(const QString &tool, const QStringList &words) {
    const QString script = QStringLiteral(
        "source \"$1\"; compopt() { :; }; shift; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); "
        "\"_${1//-/_}\"; printf '%s\\n' \"${COMPREPLY[@]}\"");
    const QString output =
        run("bash", QStringList{"--norc", "-c", script, "bash", fileOf(tool, ".bash"),
                                QStringLiteral("pelorin-") + tool} +
                        words);
    const QStringList lines = output.split(u'\n', Qt::SkipEmptyParts);
    return {lines.begin(), lines.end()};
}

constexpr auto helpsOptions = "^  (?:-\\w, )?(--[a-z-]+)";
/// In the feed server's help: what a reply can be.
constexpr auto helpsReplies = "^  ([a-z][a-z0-9-]*=?)\\S* {2,}\\S";

}  // namespace

class ManualsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void manualAndCompletionHaveTheProgramsOptions_data() {
        QTest::addColumn<QString>("tool");
        QTest::newRow("feedcheck") << "feedcheck";
        QTest::newRow("feedserver") << "feedserver";
    }
    void manualAndCompletionHaveTheProgramsOptions() {
        QFETCH(const QString, tool);
        const Names options = namesIn(helpOf(tool), helpsOptions);
        QVERIFY(options.size() > 3);
        QVERIFY(options.contains("--help"));
        const QString manual = contentOf(fileOf(tool, ".1")).remove(u'\\');
        QCOMPARE(namesIn(manual, "^\\.TP\\n\\.B\\w*(?: -\\w \", \")? (--[a-z-]+)"), options);
        QCOMPARE(completions(tool, {"--"}), options);
    }

    void manualAndCompletionHaveTheServersReplies() {
        const Names replies = namesIn(helpOf("feedserver"), helpsReplies);
        QVERIFY(replies.contains("status=") && replies.contains("keep-alive"));
        const QString manual = contentOf(fileOf("feedserver", ".1")).remove(u'\\');
        const QString section = manual.section(".SH REPLIES", 1).section(".SH", 0, 0);
        QCOMPARE(namesIn(section, "^\\.TP\\n\\.BI? ([a-z][a-z0-9-]*=?)"), replies);
        QCOMPARE(completions("feedserver", {"--reply", ""}), replies);
    }

    void filesAreOfferedForTheFeed() {
        const QString folder = QStringLiteral(PELORIN_TEST_DATA "/");
        QCOMPARE(completions("feedcheck", {"--strict", folder + "FeedCheckR"}),
                 Names{folder + "FeedCheckRun.h"});
        QCOMPARE(completions("feedcheck", {"--pictures", folder + "../too"}),
                 Names{folder + "../tools"});
        QCOMPARE(completions("feedcheck", {"--locale", "PO"}), Names{"POSIX"});
        QCOMPARE(completions("feedcheck", {"--locale", "=", "PO"}), Names{"POSIX"});
    }

    void namesOfFindingsAreOffered() {
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", PELORIN_APP_DIR "/bin:" + path);
        const auto restore = qScopeGuard([&path] { qputenv("PATH", path); });
        QCOMPARE(completions("feedcheck", {"--explain", "date-s"}), Names{"date-script"});
    }
};

PELORIN_CORE_TEST_MAIN(ManualsTest)
#include "ManualsTest.moc"
