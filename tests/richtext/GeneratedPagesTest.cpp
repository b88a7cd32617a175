#include "GeneratedPages.h"
#include "TestMain.h"
#include "WordProcessor.h"
#include "richtext/RichTextWriter.h"

#include <QGuiApplication>
#include <QTest>

#include <random>

namespace pelorinnews {

/// Generates pages whose meaning is known, and tests that a word processor reads that from their
/// copies. PELORIN_PAGES sets how many, PELORIN_SEED the seed of the first; the next page has the
/// next seed. The seed is random by default.
class GeneratedPagesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void isReadAsItWasMeant_data();
    void isReadAsItWasMeant();

private:
    QMap<QString, QString> _outlines;
};

void GeneratedPagesTest::initTestCase() {
    constexpr int standardPages = 25;
    const unsigned seed = qEnvironmentVariableIsSet("PELORIN_SEED")
                              ? qEnvironmentVariable("PELORIN_SEED").toUInt()
                              : std::random_device()();
    bool asked = false;
    const int pages = qEnvironmentVariableIntValue("PELORIN_PAGES", &asked);
    QMap<QString, QByteArray> copies;
    for (unsigned i = 0; i < static_cast<unsigned>(asked ? pages : standardPages); ++i) {
        const std::optional<QByteArray> copy =
            richTextFromHtml(test::PageGenerator(seed + i).page().html);
        QVERIFY2(copy, qPrintable(QString::number(seed + i)));
        copies.insert(QString::number(seed + i), *copy);
    }
    _outlines = test::wordProcessorOutlines(copies);
    QCOMPARE(_outlines.size(), copies.size());
    QVERIFY(!_outlines.isEmpty());
}

void GeneratedPagesTest::isReadAsItWasMeant_data() {
    QTest::addColumn<QString>("seed");
    for (const QString &seed : _outlines.keys())
        QTest::newRow(qPrintable(seed)) << seed;
}

void GeneratedPagesTest::isReadAsItWasMeant() {
    QFETCH(QString, seed);
    const test::GeneratedPage page = test::PageGenerator(seed.toUInt()).page();
    const QStringList read = test::PageGenerator::flattened(_outlines.value(seed));
    if (read != page.expected)
        qWarning().noquote() << "page:\n" << page.html << "\nread:\n" << _outlines.value(seed);
    QCOMPARE(read, page.expected);
}

}  // namespace pelorinnews

PELORIN_GUI_TEST_MAIN(pelorinnews::GeneratedPagesTest)
#include "GeneratedPagesTest.moc"
