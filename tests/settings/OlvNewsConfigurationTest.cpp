#include "TestMain.h"
#include "platform/PreferredLanguages.h"
#include "settings/OlvNewsConfiguration.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <limits>
#include <memory>
#include <sys/stat.h>
#include <thread>
#include <vector>

using namespace pelorinnews;

namespace {

const auto feedService = QStringLiteral("https://news.olvane.example/RSS_Feed/PelorinNews.php");
const auto restartArgument = QStringLiteral("--print-settings-of");
const auto viewingArgument = QStringLiteral("--store-last-viewing");
const QDateTime viewed({2015, 3, 2}, {10, 0, 0, 123}, Qt::UTC);

/// All nine settings in one text.
QString summary(const OlvNewsConfiguration &configuration) {
    return QStringList{
        QString::number(configuration.showOnStart()),
        configuration.feedBaseURL(),
        QString::number(static_cast<quint64>(configuration.newsTypeFilter())),
        QString::number(static_cast<quint64>(configuration.newsFilter())),
        configuration.feedLocale(),
        QString::number(configuration.readItemContent()),
        configuration.lastViewing().toUTC().toString(Qt::ISODateWithMs),
        QString::number(configuration.refreshInterval()),
        configuration.feedType(),
    }
        .join(QLatin1Char(' '));
}

const auto defaultSummary = QStringLiteral("1 ") + feedService +
                            QStringLiteral(" 1 3 de-DE 1 0001-01-01T00:00:00.000Z 14400 standard");

}  // namespace

class OlvNewsConfigurationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        _path = _folder.filePath(QString::number(++_files) + QStringLiteral("/P.conf"));
        _database = std::make_shared<UserDefaults>(_path);
    }

    void aFreshAccountHasTheDefaults() {
        const OlvNewsConfiguration configuration = store();
        QCOMPARE(configuration.showOnStart(), true);
        QCOMPARE(configuration.feedBaseURL(), feedService);
        QCOMPARE(configuration.newsTypeFilter(), NewsTypeFilter::All);
        QCOMPARE(configuration.newsFilter(), NewsFilter::Unread);
        QCOMPARE(configuration.feedLocale(), "de-DE");
        QCOMPARE(configuration.readItemContent(), true);
        QCOMPARE(configuration.lastViewing(), QDateTime({1, 1, 1}, {0, 0}, Qt::UTC));
        QCOMPARE(configuration.refreshInterval(), 14400);
        QCOMPARE(configuration.feedType(), "standard");
        _database->synchronize();
        QVERIFY(!QFileInfo::exists(_path));
    }

    void aStoredFilterBeatsTheDefaultOfALaterStore() {
        store().setNewsFilter(NewsFilter::Recent);
        QCOMPARE(store().newsFilter(), NewsFilter::Recent);
    }

    void everySetterIsReadBackByAnotherStoreAtOnce() {
        OlvNewsConfiguration writer = store();
        const OlvNewsConfiguration reader = store();
        change(writer);
        QCOMPARE(
            summary(reader),
            "0 https://a.example/feed.xml 2 1 fr-FR 0 2015-03-02T10:00:00.123Z 14400 standard");
    }

    void everySettingSurvivesARestart() {
        {
            OlvNewsConfiguration configuration = store();
            change(configuration);
            _database->setValue("newsRefreshInterval", 60);
            _database->setValue("newsFeedType", "beta");
        }
        _database.reset();
        QProcess next;
        next.start(QCoreApplication::applicationFilePath(), {restartArgument, _path});
        QVERIFY2(next.waitForFinished(testPatience), qPrintable(next.errorString()));
        QCOMPARE(QString::fromUtf8(next.readAllStandardOutput()),
                 "0 https://a.example/feed.xml 2 1 fr-FR 0 2015-03-02T10:00:00.123Z 60 beta");
    }

    void restoringBringsAllNineDefaultsBackAndWritesAtOnce() {
        OlvNewsConfiguration configuration = store();
        change(configuration);
        _database->setValue("newsRefreshInterval", 60);
        _database->setValue("newsFeedType", "beta");
        _database->setValue("ofTheHost", "stays");
        _database->synchronize();
        configuration.restoreDefaults();
        QCOMPARE(summary(configuration), defaultSummary);

        QFile file(_path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray contents = file.readAll();
        QVERIFY2(!contents.contains("news"), contents.constData());
        QVERIFY2(contents.contains("ofTheHost=stays"), contents.constData());
    }

    void restoringOnAFreshAccountIsHarmless() {
        OlvNewsConfiguration configuration = store();
        configuration.restoreDefaults();
        QCOMPARE(summary(configuration), defaultSummary);
    }

    void whatOtherProgramsStoreIsReturnedUnchanged() {
        const OlvNewsConfiguration configuration = store();
        _database->setValue("newsFeedType", "some/type?&%20");
        _database->setValue("newsRefreshInterval", 123456);
        QCOMPARE(configuration.feedType(), "some/type?&%20");
        QCOMPARE(configuration.refreshInterval(), 123456);
    }

    void aTextThatIsNoNumberReadsAsZero() {
        const OlvNewsConfiguration configuration = store();
        _database->setValue("newsFilter", "unread");
        QCOMPARE(configuration.newsFilter(), NewsFilter(0));
    }

    void aNumberIsNoFeedType() {
        const OlvNewsConfiguration configuration = store();
        _database->setValue("newsFeedType", 5);
        QVERIFY(configuration.feedType().isNull());
    }

    void aNegativeNumberReadsAsAHugeOne() {
        const OlvNewsConfiguration configuration = store();
        _database->setValue("newsTypeFilter", -1);
        QCOMPARE(configuration.newsTypeFilter(),
                 NewsTypeFilter(std::numeric_limits<quint64>::max()));
    }

    void anUndefinedFilterValueIsKept() {
        OlvNewsConfiguration configuration = store();
        configuration.setNewsFilter(NewsFilter(7));
        QCOMPARE(configuration.newsFilter(), NewsFilter(7));
        configuration.setNewsFilter(NewsFilter(std::numeric_limits<quint64>::max()));
        QCOMPARE(configuration.newsFilter(), NewsFilter(std::numeric_limits<quint64>::max()));
    }

    void settingAnAbsentValueBringsTheDefaultBack() {
        OlvNewsConfiguration configuration = store();
        configuration.setFeedBaseURL("https://a.example/feed.xml");
        configuration.setFeedBaseURL(QString());
        QCOMPARE(configuration.feedBaseURL(), feedService);
        configuration.setLastViewing(viewed);
        configuration.setLastViewing(QDateTime());
        QCOMPARE(configuration.lastViewing(), OlvNewsConfiguration::distantPast());
    }

    void aLastViewingThatIsNoDateReadsAsTheDefault() {
        const OlvNewsConfiguration configuration = store();
        for (const QVariant &stored :
             {QVariant("yesterday"), QVariant(1700000000), QVariant(QByteArray("\xff"))}) {
            _database->setValue("newsLastViewing", stored);
            QCOMPARE(configuration.lastViewing(), OlvNewsConfiguration::distantPast());
        }
    }

    void anEarlierLastViewingIsNeverStored() {
        OlvNewsConfiguration configuration = store();
        configuration.setLastViewing(viewed);
        configuration.setLastViewing(viewed.addMSecs(-1));
        QCOMPARE(configuration.lastViewing(), viewed);
        configuration.setLastViewing(viewed.addMSecs(1));
        QCOMPARE(configuration.lastViewing(), viewed.addMSecs(1));
        // The last viewing only moves forward. A stored value that is not a date does not count as
        // later, so the new date replaces it.
        _database->setValue("newsLastViewing", "yesterday");
        configuration.setLastViewing(viewed);
        QCOMPARE(configuration.lastViewing(), viewed);
    }

    void anotherInstancesLaterLastViewingIsKept() {
        OlvNewsConfiguration configuration = store();
        configuration.setLastViewing(viewed);
        // Once the other process has ended, this process's cached copy of the file is stale.
        QVERIFY(elsewhere({viewed.addDays(2)}));
        configuration.setLastViewing(viewed.addDays(1));
        QCOMPARE(configuration.lastViewing(), viewed.addDays(2));
        _database.reset();
        _database = std::make_shared<UserDefaults>(_path);
        QCOMPARE(store().lastViewing(), viewed.addDays(2));
        configuration.setLastViewing(viewed.addDays(3));
        QVERIFY(elsewhere({viewed}));
        QCOMPARE(store().lastViewing(), viewed.addDays(3));
    }

    void ofManyInstancesThatEndAtOnceTheLatestLastViewingStays() {
        for (int round = 0; round < 5; ++round) {
            QList<QDateTime> dates;
            for (int instance = 0; instance < 6; ++instance)
                dates << viewed.addDays(round * 10 + (instance * 5 + round) % 6);
            QVERIFY(elsewhere(dates));
            const auto file = std::make_shared<UserDefaults>(_path);
            QCOMPARE(OlvNewsConfiguration(file, {}).lastViewing(), viewed.addDays(round * 10 + 5));
        }
        QCOMPARE(QFileInfo(_path).dir().entryList(QDir::Files | QDir::Hidden),
                 QStringList{"P.conf"});
    }

    void aLockThatIsNoFileKeepsNothingBack() {
        // The lock is a pipe: opening it would block until another process writes.
        QVERIFY(QDir().mkpath(QFileInfo(_path).path()));
        QCOMPARE(mkfifo(QFile::encodeName(_path + ".date.lock").constData(), 0600), 0);
        OlvNewsConfiguration configuration = store();
        configuration.setLastViewing(viewed);
        QCOMPARE(configuration.lastViewing(), viewed);
    }

    void anEmptyAddressIsNoAbsentOne() {
        OlvNewsConfiguration configuration = store();
        configuration.setFeedBaseURL(QStringLiteral(""));
        QVERIFY(configuration.feedBaseURL().isEmpty());
        QVERIFY(!configuration.feedBaseURL().isNull());
    }

    void theFeedLanguageFollowsTheUserUntilOneIsStored() {
        QCOMPARE(OlvNewsConfiguration(_database, {"de-DE", "en"}).feedLocale(), "de-DE");
        OlvNewsConfiguration later(_database, {"fr-FR"});
        QCOMPARE(later.feedLocale(), "fr-FR");
        later.setFeedLocale("it");
        QCOMPARE(OlvNewsConfiguration(_database, {"de-DE"}).feedLocale(), "it");
    }

    void withoutALanguageTheFeedIsEnglish_data() {
        QTest::addColumn<QStringList>("languages");
        QTest::addColumn<QString>("locale");
        QTest::newRow("none") << QStringList() << "en";
        QTest::newRow("empty ones") << QStringList{"", QString()} << "en";
        QTest::newRow("C") << QStringList{"C"} << "en";
        QTest::newRow("empty, then one") << QStringList{"", "sv-SE"} << "sv-SE";
        QTest::newRow("as the platform gives it") << QStringList{"zh-Hant-TW"} << "zh-Hant-TW";
        QTest::newRow("begins like C") << QStringList{"CS"} << "CS";
    }

    void withoutALanguageTheFeedIsEnglish() {
        QFETCH(QStringList, languages);
        QTEST(OlvNewsConfiguration(_database, languages).feedLocale(), "locale");
    }

    void theLanguagesComeFromTheSystem() {
        // A process for each language, because Qt reads these variables only once per process.
        for (const auto &[variable, expected] : {std::pair("de_DE.UTF-8", "de-DE"),
                                                 {"sr_RS.UTF-8@latin", "sr-Latn-RS"},
                                                 {"C", "en"},
                                                 {"POSIX", "en"},
                                                 {"", "en"}}) {
            QProcess other;
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            for (const char *name : {"LANGUAGE", "LC_MESSAGES", "LANG"})
                environment.remove(name);
            environment.insert("LC_ALL", variable);
            other.setProcessEnvironment(environment);
            other.start(QCoreApplication::applicationFilePath(), {"--print-language"});
            QVERIFY2(other.waitForFinished(testPatience), qPrintable(other.errorString()));
            QCOMPARE(QString::fromUtf8(other.readAllStandardOutput()), QString(expected));
        }
    }

    void anotherThreadMayReadAndWriteAtTheSameTime() {
        OlvNewsConfiguration configuration = store();
        std::atomic<int> wrong = 0;
        constexpr int rounds = 50;
        std::thread queue([&] {
            for (int round = 0; round < rounds; ++round) {
                if (configuration.feedLocale() != u"de-DE" ||
                    configuration.newsFilter() < NewsFilter::All)
                    ++wrong;
                configuration.setLastViewing(viewed.addSecs(round));
            }
        });
        for (int round = 1; round <= rounds; ++round) {
            configuration.setNewsFilter(NewsFilter(1 + round % 3));
            if (configuration.lastViewing() > viewed.addSecs(rounds))
                ++wrong;
            QCoreApplication::processEvents();
        }
        queue.join();
        QCOMPARE(wrong, 0);
        QCOMPARE(configuration.lastViewing(), viewed.addSecs(rounds - 1));
    }

    void theRunningHostsPreferencesAreTheStandardOnes() {
        OlvNewsConfiguration configuration;
        configuration.setNewsFilter(NewsFilter::Recent);
        QCOMPARE(UserDefaults::standard()->integerForKey("newsFilter"), 2);
        configuration.restoreDefaults();
        QCOMPARE(UserDefaults::standard()->integerForKey("newsFilter"), 3);
    }

private:
    [[nodiscard]] OlvNewsConfiguration store() const {
        return OlvNewsConfiguration(_database, {QStringLiteral("de-DE"), QStringLiteral("en-US")});
    }

    /// Makes several processes store a last viewing each, all at once.
    [[nodiscard]] bool elsewhere(const QList<QDateTime> &dates) const {
        std::vector<std::unique_ptr<QProcess>> others;
        for (const QDateTime &date : dates) {
            others.push_back(std::make_unique<QProcess>());
            others.back()->start(QCoreApplication::applicationFilePath(),
                                 {viewingArgument, _path, date.toString(Qt::ISODateWithMs)});
        }
        return std::all_of(others.begin(), others.end(), [](const auto &other) {
            return other->waitForFinished(testPatience) && other->exitCode() == 0;
        });
    }

    static void change(OlvNewsConfiguration &configuration) {
        configuration.setShowOnStart(false);
        configuration.setFeedBaseURL("https://a.example/feed.xml");
        configuration.setNewsTypeFilter(NewsTypeFilter::Critical);
        configuration.setNewsFilter(NewsFilter::All);
        configuration.setFeedLocale("fr-FR");
        configuration.setReadItemContent(false);
        configuration.setLastViewing(viewed);
    }

    QTemporaryDir _folder;
    std::shared_ptr<UserDefaults> _database;
    QString _path;
    int _files = 0;
};

int main(int argc, char *argv[]) {
    const test::TestHome home;
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const auto print = [](const QString &text) { return std::fputs(qPrintable(text), stdout) < 0; };
    if (arguments.value(1) == restartArgument) {
        const auto database = std::make_shared<UserDefaults>(arguments.value(2));
        return print(summary(OlvNewsConfiguration(database, {QStringLiteral("de-DE")})));
    }
    if (arguments.value(1) == viewingArgument) {
        const auto database = std::make_shared<UserDefaults>(arguments.value(2));
        OlvNewsConfiguration configuration(database, {});
        configuration.setLastViewing(QDateTime::fromString(arguments.value(3), Qt::ISODateWithMs));
        return 0;
    }
    if (arguments.value(1) == u"--print-language")
        return print(preferredLanguages().first());
    OlvNewsConfigurationTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "OlvNewsConfigurationTest.moc"
