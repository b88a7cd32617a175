#include "NewsModule.h"
#include "TestMain.h"

#include <QFile>

namespace pelorinnews::test {

namespace {

QString testModule(const char *name) {
    return QStringLiteral(PELORIN_TEST_MODULES "/%1.so").arg(QLatin1String(name));
}

}  // namespace

class NewsModuleTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aModuleThatWorksGivesItsPanelAndNoProblem() {
        QString problem;
        QVERIFY(host::createNews(testModule("RecordingNewsModule"), &problem));
        QVERIFY(problem.isNull());
    }

    void aMissingModuleIsNamed() {
        expectProblem(QStringLiteral("/nowhere/None.so"), "There is no");
    }

    void aFolderIsNoModule() { expectProblem(QDir::tempPath(), "There is no"); }

    void aFileThatIsNoLibraryIsAProblem() {
        QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("Broken.so")));
        QVERIFY(file.open(QFile::WriteOnly));
        file.write("this is not a library");
        file.close();
        expectProblem(file.fileName(), "could not be loaded");
    }

    void aPluginOfAnotherKindIsAProblem() {
        expectProblem(testModule("ForeignModule"), "not a news module");
    }

    void anOlderModuleTellsBothInterfacesAndIsNotLoaded() {
        const QString path = testModule("OlderNewsModule");
        QString problem;
        QVERIFY(!host::createNews(path, &problem));
        QCOMPARE(problem,
                 QStringLiteral("The news module could not be loaded: %1 is version 0.9.0 of the "
                                "news module, with the interface "
                                "com.Olvane.PelorinNews.NewsPlugin/0. This application was built "
                                "for the interface com.Olvane.PelorinNews.NewsPlugin/1.")
                     .arg(path));
    }

    void aPanelThatCannotBeCreatedTellsWhy() {
        expectProblem(testModule("FailingNewsModule"), "Nothing works today.");
    }

private:
    static void expectProblem(const QString &path, const char *words) {
        QString problem;
        QVERIFY(!host::createNews(path, &problem));
        QVERIFY2(problem.contains(QLatin1String(words)), qPrintable(problem));
    }
};

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::NewsModuleTest)

#include "NewsModuleTest.moc"
