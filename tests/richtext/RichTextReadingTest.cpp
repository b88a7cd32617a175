#include "TestMain.h"
#include "WordProcessor.h"
#include "richtext/RichTextWriter.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTest>

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
    QMap<QString, QString> _outlines;
};

void RichTextReadingTest::initTestCase() {
    QMap<QString, QByteArray> copies;
    for (const QFileInfo &fixture : fixtures().entryInfoList({QStringLiteral("*.html")})) {
        const auto bytes =
            richTextFromHtml(QString::fromUtf8(contentsOf(fixture.absoluteFilePath())));
        QVERIFY2(bytes, qPrintable(fixture.fileName()));
        copies.insert(fixture.completeBaseName(), *bytes);
    }
    _outlines = test::wordProcessorOutlines(copies);
    QCOMPARE(_outlines.size(), copies.size());
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
    const QString read = _outlines.value(name);
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
