// The checker's pictures of a feed's items, and the checks that it repeats when the file changes.

#include "FeedCheckRun.h"
#include "TestMain.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QScopeGuard>
#include <QTcpServer>
#include <QTemporaryDir>

#include <csignal>

using namespace pelorinnews;

namespace {

const QString application = QStringLiteral(PELORIN_APP_DIR);
constexpr auto ground = "#20c040";
constexpr auto darkGround = "#102030";

/// An item with this page.
QByteArray itemWith(const QByteArray &page, const QByteArray &title = "Title") {
    return "<item><title>" + title + "</title><pubDate>" + daysAgo(1) +
           "</pubDate><category>mac pelorin</category><description><![CDATA[" + page +
           "]]></description><comments>text</comments></item>";
}

const QByteArray colouredPage =
    "<style>body{background:#20c040}@media(prefers-color-scheme:dark){body{background:#102030}}"
    "</style><p>Text";

QByteArray contentOf(const QString &path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString &path, const QByteArray &content) {
    QFile file(path);
    return file.open(QFile::WriteOnly | QFile::Truncate) && file.write(content) == content.size();
}

QColor lowestPixel(const QString &path) {
    const QImage image(path);
    return image.isNull() ? QColor() : image.pixelColor(2, image.height() - 2);
}

QStringList picturesIn(const QString &folder) {
    return QDir(folder).entryList({"*.png"}, QDir::Files, QDir::Name);
}

}  // namespace

class FeedCheckPicturesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(_folder.isValid()); }

    void picturesEveryItemInBothRenderersAndAllLooks();
    void sheetTellsWhatWasFound();
    void picturesAsLargeAsWanted();
    void picturesWithTheTextRendererAloneWithoutPageProcess();
    void tellsOfPagesThatDoNotFinishLoading();
    void leavesOtherFilesAlone();
    void removesItsEarlierPictures();
    void refusesFoldersThatItCannotUse_data();
    void refusesFoldersThatItCannotUse();
    void refusesUnfitOptions_data();
    void refusesUnfitOptions();
    void keepsThePicturesOfAFeedThatBreaks();
    void announcesAndLimitsThePicturesOfAHugeFeed();
    void watchesAFileHoweverItIsSaved();
    void picturesAgainWhenTheFileChanges();

private:
    [[nodiscard]] QString path(const QString &name) const { return _folder.filePath(name); }
    /// The program, running until it is killed.
    [[nodiscard]] std::unique_ptr<QProcess> start(const QStringList &arguments) const;

    QTemporaryDir _folder;
};

std::unique_ptr<QProcess> FeedCheckPicturesTest::start(const QStringList &arguments) const {
    auto program = std::make_unique<QProcess>();
    program->setProcessChannelMode(QProcess::MergedChannels);
    program->start(application + QStringLiteral("/bin/pelorin-feedcheck"), arguments);
    return program;
}

void FeedCheckPicturesTest::picturesEveryItemInBothRenderersAndAllLooks() {
    const Outcome outcome = check({"--pictures", path("new/folder"), "-"},
                                  feed(itemWith(colouredPage) + itemWith("<p>Second")));
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY2(outcome.errors.contains("16 pictures of 2 items"), outcome.errors.constData());
    QVERIFY2(!outcome.errors.contains("text renderer only"), outcome.errors.constData());
    const QStringList pictures = picturesIn(path("new/folder"));
    QCOMPARE(pictures.size(), 16);
    const QByteArray sheet = contentOf(path("new/folder/index.html"));
    for (const QString &name : pictures) {
        const QSize size = QImage(path("new/folder/") + name).size();
        QCOMPARE(size, name.contains("200") ? QSize(1152, 752) : QSize(576, 376));
        QVERIFY2(sheet.contains("src=\"" + name.toUtf8() + '"'), qPrintable(name));
    }
    // A page can follow the desktop's colours in the web renderer only.
    for (const char *scale : {"100", "200"}) {
        const auto pixel = [&](const char *look) {
            return lowestPixel(path("new/folder/item-001-%1-%2.png").arg(look, scale));
        };
        QCOMPARE(pixel("web-light"), QColor(ground));
        QCOMPARE(pixel("web-dark"), QColor(darkGround));
        QCOMPARE(pixel("text-dark"), pixel("text-light"));
    }
}

void FeedCheckPicturesTest::sheetTellsWhatWasFound() {
    QByteArray hidden = itemWith("<p>Hidden", "A &lt;b&gt; title");
    hidden.replace("mac pelorin", "mac");
    check({"--pictures", path("folder"), "-"}, feed(hidden));
    const QByteArray sheet = contentOf(path("folder/index.html"));
    QVERIFY2(sheet.contains("A &lt;b&gt; title"), sheet.constData());
    QVERIFY2(!sheet.contains("A <b>"), sheet.constData());
    QVERIFY2(sheet.contains("no filter shows this item"), sheet.constData());
    QVERIFY2(sheet.contains("[category-unshown]"), sheet.constData());
}

void FeedCheckPicturesTest::picturesAsLargeAsWanted() {
    const Outcome outcome = check({"--pictures", path("folder"), "--page-size", "320x480", "-"},
                                  feed(itemWith(colouredPage)));
    QCOMPARE(outcome.exitCode, 0);
    const QString picture = path("folder/item-001-web-light-200.png");
    QCOMPARE(QImage(picture).size(), QSize(640, 960));
    QCOMPARE(lowestPixel(picture), QColor(ground));
}

void FeedCheckPicturesTest::picturesWithTheTextRendererAloneWithoutPageProcess() {
    QVERIFY(QDir().mkpath(path("app/bin")) && QDir().mkpath(path("app/lib/pelorin")));
    for (const char *name : {"/bin/pelorin-feedcheck", "/lib/pelorin/pelorin-news-pictures"})
        QVERIFY(QFile::copy(application + name, path("app") + name));
    QProcess program;
    program.start(path("app/bin/pelorin-feedcheck"), {"--pictures", path("folder"), "-"});
    program.write(feed(itemWith("<p>Text")));
    program.closeWriteChannel();
    QVERIFY(program.waitForFinished(testPatience));
    QCOMPARE(program.exitCode(), 0);
    const QByteArray said = program.readAllStandardError();
    QVERIFY2(said.contains("text renderer only: there is no"), said.constData());
    QVERIFY(contentOf(path("folder/index.html")).contains("Text renderer only: there is no"));
    const QStringList names{"item-001-text-dark-100.png", "item-001-text-dark-200.png",
                            "item-001-text-light-100.png", "item-001-text-light-200.png"};
    QCOMPARE(picturesIn(path("folder")), names);
}

void FeedCheckPicturesTest::tellsOfPagesThatDoNotFinishLoading() {
    // Takes connections and never answers.
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const QByteArray address = "http://127.0.0.1:" + QByteArray::number(server.serverPort());
    const Outcome outcome =
        check({"--pictures", path("folder"), "-"},
              feed(itemWith("<body style='background:#20c040'><img src='" + address + "/a.png'>") +
                   itemWith(colouredPage)));
    QCOMPARE(outcome.exitCode, 0);
    const QByteArray sheet = contentOf(path("folder/index.html"));
    QCOMPARE(sheet.count("still loading"), 4);
    QVERIFY(sheet.lastIndexOf("still loading") < sheet.indexOf("item-002"));
    QCOMPARE(lowestPixel(path("folder/item-001-web-light-100.png")), QColor(ground));
}

void FeedCheckPicturesTest::leavesOtherFilesAlone() {
    QVERIFY(QDir().mkpath(path("folder")));
    QVERIFY(write(path("folder/notes.txt"), "mine"));
    QVERIFY(write(path("folder/item-1.png"), "mine"));
    for (int run = 0; run < 2; ++run) {
        QCOMPARE(check({"--pictures", path("folder"), "-"}, feed(itemWith("<p>Text"))).exitCode, 0);
        QCOMPARE(contentOf(path("folder/notes.txt")), QByteArray("mine"));
        QCOMPARE(contentOf(path("folder/item-1.png")), QByteArray("mine"));
    }
}

void FeedCheckPicturesTest::removesItsEarlierPictures() {
    const QByteArray one = itemWith("<p>Text");
    QCOMPARE(check({"--pictures", path("folder"), "-"}, feed(one + one)).exitCode, 0);
    QCOMPARE(picturesIn(path("folder")).size(), 16);
    QCOMPARE(check({"--pictures", path("folder"), "-"}, feed(one)).exitCode, 0);
    QCOMPARE(picturesIn(path("folder")).size(), 8);
}

void FeedCheckPicturesTest::refusesFoldersThatItCannotUse_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("folder");
    QTest::newRow("below a file") << "file"
                                  << "file/folder";
    QTest::newRow("a file") << "file"
                            << "file";
    QTest::newRow("with the index of a website") << "site/index.html"
                                                 << "site";
    QTest::newRow("with a picture of somebody") << "album/item-001-web-light-100.png"
                                                << "album";
}

void FeedCheckPicturesTest::refusesFoldersThatItCannotUse() {
    QFETCH(const QString, file);
    QFETCH(const QString, folder);
    QVERIFY(QDir().mkpath(QFileInfo(path(file)).path()));
    QVERIFY(write(path(file), "<html>mine"));
    const Outcome outcome = check({"--pictures", path(folder), "-"}, feed(itemWith("<p>Text")));
    QCOMPARE(outcome.exitCode, 2);
    QVERIFY2(outcome.errors.contains(path(folder).toUtf8()), outcome.errors.constData());
    QCOMPARE(contentOf(path(file)), QByteArray("<html>mine"));
}

void FeedCheckPicturesTest::refusesUnfitOptions_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("no folder") << QStringList{"--pictures=", "news.xml"} << QByteArray("a folder");
    QTest::newRow("size without pictures")
        << QStringList{"--page-size", "300x300", "news.xml"} << QByteArray("--pictures");
    QTest::newRow("watched standard input")
        << QStringList{"--watch", "-"} << QByteArray("needs a file");
    QTest::newRow("watched service")
        << QStringList{"--watch", "http://127.0.0.1:1/"} << QByteArray("needs a file");
    for (const char *size : {"", "300", "99x300", "300x4001", "-300x300", "300x300x300"})
        QTest::addRow("size %s", size)
            << QStringList{"--pictures", "folder", "--page-size", size, "news.xml"}
            << QByteArray("no page size");
}

void FeedCheckPicturesTest::refusesUnfitOptions() {
    QFETCH(const QStringList, arguments);
    QFETCH(const QByteArray, reason);
    const Outcome outcome = check(arguments);
    QCOMPARE(outcome.exitCode, 2);
    QVERIFY2(outcome.errors.contains(reason), outcome.errors.constData());
}

void FeedCheckPicturesTest::keepsThePicturesOfAFeedThatBreaks() {
    QCOMPARE(check({"--pictures", path("folder"), "-"}, feed(itemWith("<p>Text"))).exitCode, 0);
    const QByteArray sheet = contentOf(path("folder/index.html"));
    QVERIFY(!sheet.isEmpty());
    const Outcome outcome = check({"--pictures", path("folder"), "-"}, "<rss><channel><item>");
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY2(outcome.errors.contains("no pictures"), outcome.errors.constData());
    QCOMPARE(contentOf(path("folder/index.html")), sheet);
    QCOMPARE(picturesIn(path("folder")).size(), 8);
}

void FeedCheckPicturesTest::announcesAndLimitsThePicturesOfAHugeFeed() {
    const QByteArray news = feed(itemWith("<p>Text").repeated(5000));
    QVERIFY(write(path("news.xml"), news));
    const auto program = start({"--pictures", path("folder"), path("news.xml")});
    QByteArray said;
    QTRY_VERIFY(
        (said += program->readAll()).contains("1600 pictures of the first 200 of 5000 items"));
    // The program that draws ends with the one that started it.
    const QString children = QStringLiteral("/proc/%1/task/%1/children").arg(program->processId());
    pid_t painter = 0;
    QTRY_VERIFY((painter = contentOf(children).trimmed().toInt()) > 0);
    QTRY_VERIFY(!picturesIn(path("folder")).isEmpty());
    program->kill();
    QVERIFY(program->waitForFinished(testPatience));
    QTRY_VERIFY(::kill(painter, 0) != 0);
}

void FeedCheckPicturesTest::watchesAFileHoweverItIsSaved() {
    const QString news = path("news.xml");
    QVERIFY(write(news, feed(item("First"))));
    const auto program = start({"--watch", news});
    const auto end = qScopeGuard([&program] {
        program->kill();
        program->waitForFinished();
    });
    QByteArray said;
    const auto says = [&](const QByteArray &title) {
        said += program->readAll();
        const bool found = said.contains("  " + title + '\n');
        if (found)
            said.clear();
        return found;
    };
    QVERIFY(QTest::qWaitFor([&] { return says("First"); }, testPatience));

    // By truncation.
    QVERIFY(write(news, feed(item("Truncated"))));
    QVERIFY(QTest::qWaitFor([&] { return says("Truncated"); }, testPatience));
    // By renaming.
    QVERIFY(write(path("new.xml"), feed(item("Renamed"))));
    QCOMPARE(::rename(qPrintable(path("new.xml")), qPrintable(news)), 0);
    QVERIFY(QTest::qWaitFor([&] { return says("Renamed"); }, testPatience));
    // Twice.
    QVERIFY(write(news, feed(item("Once"))) && write(news, feed(item("Twice"))));
    QVERIFY(QTest::qWaitFor([&] { return says("Twice"); }, testPatience));
    // The file is away for some time.
    QVERIFY(QFile::rename(news, path("news.xml~")));
    QTest::qWait(1000);
    QCOMPARE(program->state(), QProcess::Running);
    QVERIFY(write(news, feed(item("Back"))));
    QVERIFY(QTest::qWaitFor([&] { return says("Back"); }, testPatience));
    // A broken feed is no reason to stop.
    QVERIFY(write(news, "<rss>"));
    QTRY_VERIFY((said += program->readAll()).contains("[xml-broken]"));
    QVERIFY(write(news, feed(item("Mended"))));
    QVERIFY(QTest::qWaitFor([&] { return says("Mended"); }, testPatience));
}

void FeedCheckPicturesTest::picturesAgainWhenTheFileChanges() {
    const QString news = path("news.xml");
    const QString picture = path("folder/item-001-web-light-100.png");
    QVERIFY(write(news, feed(itemWith(colouredPage).repeated(100))));
    const auto program = start({"--watch", "--pictures", path("folder"), news});
    const auto end = qScopeGuard([&program] {
        program->kill();
        program->waitForFinished();
    });
    QTRY_COMPARE(lowestPixel(picture), QColor(ground));
    // In the middle of 800 pictures.
    QVERIFY(write(news, feed(itemWith("<body style='background:#c02040'>Text"))));
    QByteArray said;
    QTRY_VERIFY((said += program->readAll()).contains("8 pictures of 1 item\n"));
    QTRY_VERIFY((said += program->readAll()).contains("feedcheck: see "));
    QCOMPARE(said.count("feedcheck: see "), 1);
    QCOMPARE(lowestPixel(picture), QColor("#c02040"));
    QCOMPARE(picturesIn(path("folder")).size(), 8);
}

PELORIN_CORE_TEST_MAIN(FeedCheckPicturesTest)
#include "FeedCheckPicturesTest.moc"
