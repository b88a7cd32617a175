#include "TestMain.h"
#include "feed/OlvNewsCacheItem.h"

#include <atomic>
#include <thread>

using namespace pelorinnews;

// Items must be small: a feed may have 100,000 of them.
static_assert(sizeof(OlvNewsCacheItem) <= 128);

class OlvNewsCacheItemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aNewItemHasNoField() {
        const OlvNewsCacheItem item;
        QVERIFY(item.title().isNull());
        QVERIFY(!item.date().isValid());
        QVERIFY(item.htmlContent().isNull());
        QVERIFY(item.plainTextContent().isNull());
        QVERIFY(item.category().isNull());
    }

    void aNewItemIsDescribedByNulls() {
        QCOMPARE(OlvNewsCacheItem().description(),
                 QStringLiteral("OlvNewsCacheItem\n\ttitle: (null)\n\tdate: (null)\n\tcategory: "
                                "(null)\n\tcontent: (null)\n\tencoded content: (null)"));
    }

    void theDescriptionShowsEachFieldInItsPlace() {
        OlvNewsCacheItem item;
        item.setTitle(QStringLiteral("%1 off"));
        item.setDate(QDateTime(QDate(2015, 3, 2), QTime(12, 0), Qt::OffsetFromUTC, 7200));
        item.setCategory(QStringLiteral("mac"));
        item.setPlainTextContent(QStringLiteral(""));
        item.setHtmlContent(QStringLiteral("<p>"));
        QCOMPARE(item.description(),
                 QStringLiteral("OlvNewsCacheItem\n\ttitle: %1 off\n\tdate: 2015-03-02 10:00:00 "
                                "+0000\n\tcategory: mac\n\tcontent: \n\tencoded content: <p>"));
    }

    void eachFieldKeepsWhatItIsGiven() {
        OlvNewsCacheItem item;
        const QDateTime date = QDateTime::fromSecsSinceEpoch(1425290400, Qt::UTC);
        item.setTitle(QStringLiteral("a"));
        item.setDate(date);
        item.setHtmlContent(QStringLiteral("b"));
        item.setPlainTextContent(QStringLiteral("c"));
        item.setCategory(QStringLiteral("d"));
        QCOMPARE(item.title(), QStringLiteral("a"));
        QCOMPARE(item.date(), date);
        QCOMPARE(item.htmlContent(), QStringLiteral("b"));
        QCOMPARE(item.plainTextContent(), QStringLiteral("c"));
        QCOMPARE(item.category(), QStringLiteral("d"));
    }

    void aFieldSetToAbsentIsAbsent() {
        OlvNewsCacheItem item;
        item.setTitle(QStringLiteral("a"));
        item.setDate(QDateTime::currentDateTimeUtc());
        item.setHtmlContent(QStringLiteral("b"));
        item.setPlainTextContent(QStringLiteral("c"));
        item.setCategory(QStringLiteral("d"));
        item.setTitle({});
        item.setDate({});
        item.setHtmlContent({});
        item.setPlainTextContent({});
        item.setCategory({});
        QVERIFY(item.title().isNull());
        QVERIFY(!item.date().isValid());
        QVERIFY(item.htmlContent().isNull());
        QVERIFY(item.plainTextContent().isNull());
        QVERIFY(item.category().isNull());
    }

    void anEmptyTextIsNotAnAbsentOne() {
        OlvNewsCacheItem item;
        item.setTitle(QStringLiteral(""));
        QVERIFY(!item.title().isNull());
        QVERIFY(item.title().isEmpty());
    }

    void aReaderNeverSeesAHalfWrittenField() {
        OlvNewsCacheItem item;
        std::atomic<bool> done = false;
        std::atomic<int> torn = 0;
        const auto write = [&](QChar letter, qint64 instant) {
            for (int i = 0; i < 3000; ++i) {
                item.setTitle(QString(1 + i % 50, letter));
                item.setCategory(QString(1 + i % 50, letter));
                item.setHtmlContent(QString(1 + i % 50, letter));
                item.setPlainTextContent(QString(1 + i % 50, letter));
                item.setDate(QDateTime::fromSecsSinceEpoch(instant, Qt::OffsetFromUTC, 3600));
            }
        };
        const auto read = [&] {
            while (!done) {
                for (const QString &text :
                     {item.title(), item.category(), item.htmlContent(), item.plainTextContent()}) {
                    if (!text.isNull() && text != QString(text.size(), text.front()))
                        ++torn;
                }
                const QDateTime date = item.date();
                if (date.isValid() && date.toSecsSinceEpoch() != 1 && date.toSecsSinceEpoch() != 2)
                    ++torn;
            }
        };
        std::thread readers[] = {std::thread(read), std::thread(read)};
        std::thread writers[] = {std::thread(write, u'a', 1), std::thread(write, u'b', 2)};
        for (std::thread &writer : writers)
            writer.join();
        done = true;
        for (std::thread &reader : readers)
            reader.join();
        QCOMPARE(torn.load(), 0);
    }
};

PELORIN_CORE_TEST_MAIN(OlvNewsCacheItemTest)
#include "OlvNewsCacheItemTest.moc"
