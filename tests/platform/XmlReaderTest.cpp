#include "TestMain.h"
#include "platform/XmlReader.h"

#include <QElapsedTimer>

#include <string>
#include <vector>

using namespace pelorinnews;

namespace {

/// Records every event as one line. A run of text gives one line, even if several calls delivered
/// it.
class Recorder final : public XmlReaderDelegate {
public:
    void parserDidStartElement(std::string_view name) override { note("<", name); }
    void parserFoundCharacters(std::string_view text) override {
        emptyText = emptyText || text.empty();
        if (events.empty() || events.back().front() != '"')
            events.emplace_back("\"");
        events.back() += text;
    }
    void parserFoundCDATA(QByteArrayView bytes) override {
        note("[", {bytes.data(), static_cast<size_t>(bytes.size())});
    }
    void parserDidEndElement(std::string_view name) override { note("/", name); }
    void parserParseErrorOccurred(const Error &error) override {
        note("!", std::to_string(error.code));
    }
    void parserValidationErrorOccurred(const Error &error) override {
        note("?", std::to_string(error.code));
    }

    std::vector<std::string> events;
    bool emptyText = false;

private:
    void note(std::string_view kind, std::string_view text) {
        events.emplace_back(kind).append(text);
    }
};

using Events = std::vector<std::string>;

Events eventsOf(QByteArrayView bytes) {
    Recorder recorder;
    XmlReader(recorder).read(bytes);
    return recorder.events;
}

const QByteArray document =
    "<?xml version=\"1.0\"?>\r\n<!DOCTYPE a [<!ENTITY e \"en&#116;ity\">]><a x=\"1\">t\xC3\xA4xt "
    "\xF0\x9F\x98\x80 &e;&amp;<b:c/>\r\n<![CDATA[one\r\ntwo ]] ]>\xE2\x82\xAC]]><![CDATA[]]><!-- c "
    "--></a>\n";
const Events documentEvents = {"<a",   "\"t\xC3\xA4xt \xF0\x9F\x98\x80 entity&",
                               "<b:c", "/b:c",
                               "\"\n", "[one\ntwo ]] ]>\xE2\x82\xAC",
                               "[",    "/a"};

}  // namespace

class XmlReaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eventsComeInDocumentOrder() { QVERIFY(eventsOf(document) == documentEvents); }

    void piecesOfAnySizeGiveTheSameEvents() {
        for (qsizetype size = 1; size <= document.size(); ++size) {
            Recorder recorder;
            XmlReader reader(recorder);
            for (qsizetype at = 0; at < document.size(); at += size)
                QVERIFY(reader.feed(document.mid(at, size)));
            QVERIFY(reader.finish());
            QVERIFY2(recorder.events == documentEvents, qPrintable(QString::number(size)));
            QVERIFY(!recorder.emptyText);
        }
    }

    void aTextReadsLikeItsBytes() {
        Recorder recorder;
        QVERIFY(XmlReader(recorder).read(QStringView(QString::fromUtf8(document))));
        QVERIFY(recorder.events == documentEvents);
    }

    void theFirstFatalErrorIsReportedOnceWithItsPlace() {
        Recorder recorder;
        XmlReader reader(recorder);
        QVERIFY(!reader.feed("<a>\n  <b></c>"));
        QVERIFY(!reader.feed("</b></a>"));
        QVERIFY(!reader.finish());
        QVERIFY(recorder.events == Events({"<a", "\"\n  ", "<b", "!7"}));
        QVERIFY(reader.error());
        QCOMPARE(reader.error()->domain, XmlError::domain());
        QCOMPARE(reader.error()->userInfo.value(XmlError::lineNumberKey()).toLongLong(), 2);
        QCOMPARE(reader.error()->userInfo.value(XmlError::columnNumberKey()).toLongLong(), 8);
    }

    void placesCountFromOneWithOrWithoutAByteOrderMark_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("without") << QByteArray("&");
        QTest::newRow("with") << QByteArray("\xEF\xBB\xBF&");
    }

    void placesCountFromOneWithOrWithoutAByteOrderMark() {
        QFETCH(const QByteArray, bytes);
        Recorder recorder;
        XmlReader reader(recorder);
        QVERIFY(!reader.read(QByteArrayView(bytes)));
        QCOMPARE(reader.error()->userInfo.value(XmlError::lineNumberKey()).toLongLong(), 1);
        QCOMPARE(reader.error()->userInfo.value(XmlError::columnNumberKey()).toLongLong(), 1);
    }

    void aDelegateCanAskWhereItsEventStarts() {
        class Places final : public XmlReaderDelegate {
        public:
            void parserDidStartElement(std::string_view name) override {
                places += QStringLiteral("%1@%2:%3 ")
                              .arg(QString::fromUtf8(name.data(), static_cast<int>(name.size())))
                              .arg(reader->lineNumber())
                              .arg(reader->columnNumber());
            }
            void parserFoundCharacters(std::string_view) override {}
            void parserFoundCDATA(QByteArrayView) override {}
            void parserDidEndElement(std::string_view) override {}
            void parserParseErrorOccurred(const Error &) override {}
            void parserValidationErrorOccurred(const Error &) override {}
            XmlReader *reader = nullptr;
            QString places;
        };
        Places places;
        XmlReader reader(places);
        places.reader = &reader;
        QVERIFY(reader.read(QByteArrayView("<a><b/>\n \xC3\xA4<c/></a>")));
        QCOMPARE(places.places, QStringLiteral("a@1:1 b@1:4 c@2:3 "));
    }

    void anEmptyDocumentIsAnError() {
        QVERIFY(eventsOf(QByteArrayView("")) == Events({"!3"}));
        Recorder recorder;
        XmlReader reader(recorder);
        QVERIFY(reader.feed({}));
        QVERIFY(!reader.finish());
    }

    void nothingIsTakenAfterTheEnd() {
        Recorder recorder;
        XmlReader reader(recorder);
        QVERIFY(reader.read(QByteArrayView("<a/>")));
        QVERIFY(!reader.feed("<b/>"));
        QVERIFY(!reader.finish());
        QVERIFY(recorder.events == Events({"<a", "/a"}));
        QVERIFY(!reader.error());
    }

    void anUnfinishedSectionIsNotReported() {
        QVERIFY(eventsOf("<a><![CDATA[one\ntwo") == Events({"<a", "!20"}));
    }

    void bytesAreNeverTakenForAnotherEncoding() {
        const Events refused = {"!4"};
        QVERIFY(eventsOf(QByteArrayView("<\0a\0/\0>\0", 8)) == refused);
        QVERIFY(eventsOf(QByteArrayView("\0<\0a\0/\0>", 8)) == refused);
        QVERIFY(eventsOf(QByteArrayView("\xFF\xFE<\0a\0/\0>\0", 10)) == refused);
        QVERIFY(eventsOf(QByteArrayView("\xFE\xFF\0<\0a\0/\0>", 10)) == refused);
        QVERIFY(eventsOf("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xC3\xA4</a>") ==
                Events({"<a", "\"\xC3\xA4", "/a"}));
    }

    void bytesThatAreNotUtf8AreAFatalError() {
        QVERIFY(eventsOf("<a>\xE4</a>") == Events({"<a", "!4"}));
        QVERIFY(eventsOf("<a>\xED\xA0\x80</a>") == Events({"<a", "!4"}));
        QVERIFY(eventsOf("<a><![CDATA[\xE4]]></a>") == Events({"<a", "!4"}));
    }

    void aHugeTokenInSmallPiecesTakesLinearTime() {
        const QByteArray piece(4096, 'x');
        const auto secondsFor = [&](int pieces) {
            Recorder recorder;
            XmlReader reader(recorder);
            QElapsedTimer timer;
            timer.start();
            reader.feed("<a b=\"");
            for (int i = 0; i < pieces; ++i)
                reader.feed(piece);
            reader.feed("\"/>");
            if (!reader.finish() || recorder.events != Events({"<a", "/a"}))
                return -1.0;
            return static_cast<double>(timer.nsecsElapsed()) / 1e9;
        };
        // If every piece made the reader read the whole text again, the longer text would take 400
        // times as long as the shorter one.
        const double shorter = secondsFor(200);
        const double longer = secondsFor(4000);
        QVERIFY(shorter > 0);
        QVERIFY(longer > 0);
        QVERIFY2(longer < shorter * 120,
                 qPrintable(QStringLiteral("%1 s, then %2 s").arg(shorter).arg(longer)));
    }
};

PELORIN_CORE_TEST_MAIN(XmlReaderTest)
#include "XmlReaderTest.moc"
