#include "TestMain.h"
#include "platform/HostBundle.h"

#include <QFileInfo>

using namespace pelorinnews;

class HostBundleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// Sets every source of the identifier. Each test unsets the sources that take precedence over
    /// the one that it tests.
    void init() {
        HostBundle::setIdentity({"com.example.Stated", "Organisation", "Application"});
        qputenv("FLATPAK_ID", "com.example.Flatpak");
        qApp->setProperty("desktopFileName", "com.example.Desktop.desktop");
        QCoreApplication::setOrganizationDomain("news.example.com");
        QCoreApplication::setApplicationName("Host");
    }
    void cleanup() {
        HostBundle::setIdentity({});
        qunsetenv("FLATPAK_ID");
        qApp->setProperty("desktopFileName", QVariant());
        QCoreApplication::setOrganizationDomain({});
        QCoreApplication::setApplicationName({});
    }

    void takesWhatTheHostStatesFirst() { QCOMPARE(identifier(), "com.example.Stated"); }

    void thenTheFlatpakIdentifier() {
        HostBundle::setIdentity({});
        QCOMPARE(identifier(), "com.example.Flatpak");
    }

    void thenTheDesktopFilesName() {
        HostBundle::setIdentity({});
        qunsetenv("FLATPAK_ID");
        QCOMPARE(identifier(), "com.example.Desktop");
        qApp->setProperty("desktopFileName", "plain");
        QCOMPARE(identifier(), "plain");
    }

    void thenTheReversedDomainAndTheApplicationsName() {
        HostBundle::setIdentity({});
        qunsetenv("FLATPAK_ID");
        qApp->setProperty("desktopFileName", QString());
        QCOMPARE(identifier(), "com.example.news.Host");
        QCoreApplication::setOrganizationDomain("..example..org.");
        QCOMPARE(identifier(), "org.example.Host");
    }

    void thenTheExecutablesName() {
        HostBundle::setIdentity({});
        qunsetenv("FLATPAK_ID");
        qApp->setProperty("desktopFileName", ".desktop");
        QCoreApplication::setOrganizationDomain(".");
        QCOMPARE(identifier(), QFileInfo(QCoreApplication::applicationFilePath()).fileName());
        QVERIFY(!identifier().isEmpty());
    }

    void passesOverWhatCannotNameOneFolder_data() {
        QTest::addColumn<QString>("stated");
        QTest::newRow("absent") << QString();
        QTest::newRow("empty") << "";
        QTest::newRow("this folder") << ".";
        QTest::newRow("the folder above") << "..";
        QTest::newRow("a path") << "../../com.example.Stated";
        QTest::newRow("a slash") << "com/example";
        QTest::newRow("a zero") << QString(QChar(QChar::Null));
    }
    void passesOverWhatCannotNameOneFolder() {
        QFETCH(QString, stated);
        HostBundle::setIdentity({stated, {}, {}});
        QCOMPARE(identifier(), "com.example.Flatpak");
    }

    void isAValueOfItsMoment() {
        const HostBundle before = HostBundle::mainBundle();
        HostBundle::setIdentity({"com.example.Other", {}, {}});
        QCOMPARE(before.identifier(), QStringLiteral("com.example.Stated"));
        QCOMPARE(identifier(), "com.example.Other");
    }

private:
    static QString identifier() { return HostBundle::mainBundle().identifier(); }
};

PELORIN_CORE_TEST_MAIN(HostBundleTest)
#include "HostBundleTest.moc"
