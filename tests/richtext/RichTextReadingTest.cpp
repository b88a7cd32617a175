#include "OpenDocumentOutline.h"
#include "TestMain.h"
#include "richtext/RichTextWriter.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

namespace pelorinnews {

namespace {

QDir fixtures() {
    return QDir(QStringLiteral(PELORIN_TEST_DATA "/richtext"));
}

QByteArray contentsOf(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

/// Tests that a word processor understands our RTF. It converts all fixtures in one run; each
/// result is compared with the outline beside the fixture.
class RichTextReadingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void isReadAsItWasMeant_data();
    void isReadAsItWasMeant();

private:
    QTemporaryDir _folder;
};

void RichTextReadingTest::initTestCase() {
    const QString office = QStandardPaths::findExecutable(QStringLiteral("soffice"));
    QVERIFY2(!office.isEmpty(), "LibreOffice Writer is needed to read the rich text");
    QStringList arguments{
        QStringLiteral("-env:UserInstallation=") +
            QUrl::fromLocalFile(_folder.filePath(QStringLiteral("profile"))).toString(),
        QStringLiteral("--headless"),
        QStringLiteral("--convert-to"),
        QStringLiteral("fodt"),
        QStringLiteral("--outdir"),
        _folder.path()};
    for (const QFileInfo &fixture : fixtures().entryInfoList({QStringLiteral("*.html")})) {
        const auto bytes =
            richTextFromHtml(QString::fromUtf8(contentsOf(fixture.absoluteFilePath())));
        QVERIFY2(bytes, qPrintable(fixture.fileName()));
        const QString path = _folder.filePath(fixture.completeBaseName() + QStringLiteral(".rtf"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(*bytes) == bytes->size());
        arguments << path;
    }
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(office, arguments);
    const bool finished = process.waitForFinished(2 * testPatience);
    if (!finished) {
        process.terminate();
        if (!process.waitForFinished(testPatience))
            process.kill();
        process.waitForFinished(testPatience);
    }
    QVERIFY2(finished && process.exitCode() == 0, process.readAll().constData());
}

void RichTextReadingTest::isReadAsItWasMeant_data() {
    QTest::addColumn<QString>("name");
    const QFileInfoList found = fixtures().entryInfoList({QStringLiteral("*.html")});
    QVERIFY(!found.isEmpty());
    for (const QFileInfo &fixture : found)
        QTest::newRow(qPrintable(fixture.completeBaseName())) << fixture.completeBaseName();
}

void RichTextReadingTest::isReadAsItWasMeant() {
    QFETCH(QString, name);
    const QString read =
        test::OpenDocumentOutline::of(contentsOf(_folder.filePath(name + QStringLiteral(".fodt"))));
    const QString expected =
        QString::fromUtf8(contentsOf(fixtures().filePath(name + QStringLiteral(".expected.txt"))));
    QVERIFY(!read.isEmpty());
    if (read != expected)
        qWarning().noquote() << "read:\n" << read;
    QCOMPARE(read.split(QLatin1Char('\n')), expected.split(QLatin1Char('\n')));
}

}  // namespace pelorinnews

PELORIN_GUI_TEST_MAIN(pelorinnews::RichTextReadingTest)
#include "RichTextReadingTest.moc"
