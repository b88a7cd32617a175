#include "Deflate.h"
#include "TestMain.h"
#include "network/ContentDecoder.h"

using namespace pelorinnews;
using namespace pelorinnews::test;
using Coding = ContentDecoder::Coding;
using Result = ContentDecoder::Result;

namespace {

const QByteArray text = "<rss>news, news and news again</rss>";

}  // namespace

class ContentDecoderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void comesInAnyPieces_data() { formats(); }
    void comesInAnyPieces();
    void noPartIsTheWhole_data() { formats(); }
    void noPartIsTheWhole();
    void noMoreThanTheLimitIsKept_data() { formats(); }
    void noMoreThanTheLimitIsKept();
    void knowsItsCodings();

private:
    static void formats() {
        QTest::addColumn<Coding>("coding");
        QTest::addColumn<int>("format");
        QTest::newRow("gzip") << Coding::Gzip << gzipFormat;
        QTest::newRow("deflate") << Coding::Deflate << zlibFormat;
        QTest::newRow("deflate, not wrapped") << Coding::Deflate << rawFormat;
    }
};

void ContentDecoderTest::comesInAnyPieces() {
    QFETCH(const Coding, coding);
    QFETCH(const int, format);
    const QByteArray bytes = deflated(text, format);
    for (std::size_t size = 1; size <= std::size_t(bytes.size()); ++size) {
        ContentDecoder decoder(coding, text.size());
        QByteArray body;
        for (std::size_t at = 0; at < std::size_t(bytes.size()); at += size) {
            const std::size_t piece = std::min(size, std::size_t(bytes.size()) - at);
            QCOMPARE(decoder.add(bytes.constData() + at, piece, body), Result::Fine);
        }
        QVERIFY(decoder.isComplete());
        QCOMPARE(body, text);
    }
}

void ContentDecoderTest::noPartIsTheWhole() {
    QFETCH(const Coding, coding);
    QFETCH(const int, format);
    const QByteArray bytes = deflated(text, format);
    for (qsizetype size = 0; size < bytes.size(); ++size) {
        ContentDecoder decoder(coding, 1000);
        QByteArray body;
        QCOMPARE(decoder.add(bytes.constData(), std::size_t(size), body), Result::Fine);
        QVERIFY2(!decoder.isComplete(), qPrintable(QString::number(size)));
    }
}

void ContentDecoderTest::noMoreThanTheLimitIsKept() {
    QFETCH(const Coding, coding);
    QFETCH(const int, format);
    constexpr qint64 maxBody = 200'000;
    const QByteArray bytes = deflated(QByteArray(20 * maxBody, 'x'), format);
    ContentDecoder decoder(coding, maxBody);
    QByteArray body;
    QCOMPARE(decoder.add(bytes.constData(), std::size_t(bytes.size()), body), Result::TooLong);
    QVERIFY(body.size() <= maxBody + 1);

    ContentDecoder fitting(coding, maxBody);
    const QByteArray fittingBytes = deflated(QByteArray(maxBody, 'x'), format);
    QByteArray whole;
    QCOMPARE(fitting.add(fittingBytes.constData(), std::size_t(fittingBytes.size()), whole),
             Result::Fine);
    QVERIFY(fitting.isComplete());
    QVERIFY(whole == QByteArray(maxBody, 'x'));
}

void ContentDecoderTest::knowsItsCodings() {
    QCOMPARE(ContentDecoder::codingNamed(""), std::optional(Coding::Identity));
    QCOMPARE(ContentDecoder::codingNamed(" Identity "), std::optional(Coding::Identity));
    QCOMPARE(ContentDecoder::codingNamed("x-GZIP"), std::optional(Coding::Gzip));
    QCOMPARE(ContentDecoder::codingNamed("deflate"), std::optional(Coding::Deflate));
    for (const char *unknown : {"br", "gzip, gzip", "zstd", "gzip;q=1"})
        QVERIFY(!ContentDecoder::codingNamed(unknown));
}

PELORIN_CORE_TEST_MAIN(ContentDecoderTest)
#include "ContentDecoderTest.moc"
