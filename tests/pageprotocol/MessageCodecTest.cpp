// Encoding and decoding of the messages between host and page process: valid messages arrive
// unchanged, all others are rejected.

#include "TestMain.h"
#include "pageprotocol/MessageCodec.h"

#include <QTest>

namespace pelorinnews::test {

using namespace pageprotocol;

namespace {

/// The message that the receiver decodes from `datagrams`; absent if it rejects them. With
/// `hasDescriptor`, the last datagram comes with a file descriptor.
template <class Variant>
std::optional<Variant> readBack(const QList<RawMessage> &datagrams, bool hasDescriptor = false) {
    MessageReader<Variant> reader;
    std::optional<Variant> message;
    for (qsizetype i = 0; i < datagrams.size(); ++i) {
        if (message)
            qFatal("a message before the last datagram");
        message = reader.read(datagrams.at(i), hasDescriptor && i + 1 == datagrams.size());
    }
    if (message.has_value() == reader.isViolated())
        qFatal("neither a message nor a violation");
    return message;
}

RawMessage datagram(qint32 type, std::initializer_list<qint32> numbers = {}) {
    RawMessage raw{};
    raw.type = type;
    std::copy(numbers.begin(), numbers.end(), raw.numbers);
    return raw;
}

}  // namespace

class MessageCodecTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsWhatWasSent();
    void numbersTheTypes();
    void readsTextsOfAnyLength_data();
    void readsTextsOfAnyLength();
    void keepsAByteOrderMark();
    void cutsATextThatIsTooLongBetweenCharacters();
    void refusesWhatTheProtocolDoesNotAllow_data();
    void refusesWhatTheProtocolDoesNotAllow();
    void refusesATextThatIsNotUtf8();
    void refusesATextOfMoreThanTheLimit();
    void readsNothingAfterAViolation();
    void refusesADescriptorThatTheMessageDoesNotHave();
};

void MessageCodecTest::readsWhatWasSent() {
    const auto wheel =
        readBack<HostMessage>(encoded<HostMessage>(WheelInput{1, -2, 3, -4, 5, -6, 7, 8, 9, 3, 1}));
    QVERIFY(wheel);
    const auto &read = std::get<WheelInput>(*wheel);
    QCOMPARE(read.surface, 1);
    QCOMPARE(read.x, -2);
    QCOMPARE(read.angleY, 7);
    QCOMPARE(read.modifiers, 9);
    QCOMPARE(read.phase, 3);
    QCOMPARE(read.isInverted, 1);
    const auto state = readBack<ChildMessage>(
        encoded<ChildMessage>(InputState{1, 2, 3, 4, 5, 6, 7, 8, QStringLiteral("Größe 日本語")}));
    QVERIFY(state);
    QCOMPARE(std::get<InputState>(*state).anchor, 8);
    QCOMPARE(std::get<InputState>(*state).text, QStringLiteral("Größe 日本語"));
    QVERIFY(readBack<HostMessage>(encoded<HostMessage>(ShowPage{1, 10}), true));
    QVERIFY(readBack<ChildMessage>(encoded<ChildMessage>(Ready{})));
}

void MessageCodecTest::numbersTheTypes() {
    QCOMPARE(encoded<HostMessage>(Hello{}).first().type, 1);
    QCOMPARE(encoded<HostMessage>(ShowPage{}).first().type, 2);
    QCOMPARE(encoded<ChildMessage>(Ready{}).first().type, 1);
    QCOMPARE(encoded<ChildMessage>(Pong{7}).first().type,
             static_cast<qint32>(std::variant_size_v<ChildMessage>));
    QCOMPARE(encoded<ChildMessage>(Pong{7}).first().numbers[0], 7);
}

void MessageCodecTest::readsTextsOfAnyLength_data() {
    QTest::addColumn<qsizetype>("length");
    QTest::addColumn<qsizetype>("datagrams");
    QTest::newRow("none") << qsizetype{0} << qsizetype{1};
    QTest::newRow("a datagram full") << qsizetype{4032} << qsizetype{1};
    QTest::newRow("one more") << qsizetype{4033} << qsizetype{2};
    QTest::newRow("two full") << qsizetype{8064} << qsizetype{2};
    QTest::newRow("the most") << maxTextBytes << qsizetype{521};
}

void MessageCodecTest::readsTextsOfAnyLength() {
    QFETCH(qsizetype, length);
    QString text(length, QLatin1Char('a'));
    for (qsizetype i = 0; i < length; ++i)
        text[i] = QLatin1Char(static_cast<char>('a' + i % 23));
    const auto datagrams = encoded<ChildMessage>(Selection{text});
    QTEST(datagrams.size(), "datagrams");
    const auto message = readBack<ChildMessage>(datagrams);
    QVERIFY(message);
    QCOMPARE(std::get<Selection>(*message).text, text);
}

void MessageCodecTest::keepsAByteOrderMark() {
    // The cursor is after the byte order mark. If decoding dropped the mark, the cursor would be
    // beyond the end of the text.
    const QString text(1, QChar::ByteOrderMark);
    const auto message =
        readBack<ChildMessage>(encoded<ChildMessage>(InputState{1, 0, 0, 0, 0, 0, 1, 1, text}));
    QVERIFY(message);
    QCOMPARE(std::get<InputState>(*message).text, text);
}

void MessageCodecTest::cutsATextThatIsTooLongBetweenCharacters() {
    // Each character takes three bytes in UTF-8. The limit is not a multiple of three, so it falls
    // within a character.
    QCOMPARE_NE(maxTextBytes % 3, 0);
    const auto message = readBack<ChildMessage>(
        encoded<ChildMessage>(Selection{QString(maxTextBytes / 3 + 10, QChar(0x65e5))}));
    QVERIFY(message);
    QCOMPARE(std::get<Selection>(*message).text, QString(maxTextBytes / 3, QChar(0x65e5)));
}

void MessageCodecTest::refusesWhatTheProtocolDoesNotAllow_data() {
    QTest::addColumn<RawMessage>("datagram");
    const auto row = [](const char *name, const RawMessage &raw) { QTest::newRow(name) << raw; };
    row("type below the first", datagram(-1));
    row("type beyond the last",
        datagram(static_cast<qint32>(std::variant_size_v<ChildMessage>) + 1));
    row("largest type", datagram(std::numeric_limits<qint32>::max()));
    row("page 0", datagram(2, {0}));
    row("frame of no surface", datagram(3, {-1, 1, 0, 1}));
    row("frame of a surface beyond the last", datagram(3, {maxSurface + 1, 1, 0, 1}));
    row("frame of generation 0", datagram(3, {0, 0, 0, 1}));
    row("frame in a third buffer", datagram(3, {0, 1, 2, 1}));
    row("the page as a pop-up", datagram(4, {0, 0, 0, 10, 10}));
    row("pop-up without width", datagram(4, {1, 0, 0, 0, 10}));
    row("pop-up of too many pixels", datagram(4, {1, 0, 0, maxSide, maxSide}));
    row("pop-up far away", datagram(4, {1, maxSide + 1, 0, 10, 10}));
    row("navigation of an unknown kind", datagram(6, {1, 6}));
    row("unknown cursor", datagram(7, {22}));
    row("a cursor behind the text", datagram(9, {1, 0, 0, 0, 0, 0, 1, 0}));
    row("a paste for no page", datagram(13, {0}));
    row("a link of no page", datagram(14, {0}));
    row("a link of neither pointer nor focus", datagram(14, {1, 2}));
    row("a link far away", datagram(14, {1, 0, 0, maxSide + 1}));
    row("a link of negative width", datagram(14, {1, 0, 0, 0, -1}));
    RawMessage text = datagram(2, {1});
    text.textBytes = 1;
    row("a text where none belongs", text);
    RawMessage length = datagram(8);
    length.textBytes = sizeof length.text + 1;
    row("a text longer than the datagram", length);
    length.textBytes = -1;
    row("a text of negative length", length);
}

void MessageCodecTest::refusesWhatTheProtocolDoesNotAllow() {
    QFETCH(RawMessage, datagram);
    MessageReader<ChildMessage> reader;
    QVERIFY(!reader.read(datagram, false));
    QVERIFY(reader.isViolated());
}

void MessageCodecTest::refusesATextThatIsNotUtf8() {
    auto datagrams = encoded<ChildMessage>(ToolTip{QStringLiteral("ab")});
    datagrams.first().text[1] = '\xc3';
    QVERIFY(!readBack<ChildMessage>(datagrams));
}

void MessageCodecTest::refusesATextOfMoreThanTheLimit() {
    MessageReader<ChildMessage> reader;
    RawMessage part = datagram(0);
    part.textBytes = sizeof part.text;
    for (qsizetype size = part.textBytes; size <= maxTextBytes; size += part.textBytes) {
        QVERIFY(!reader.read(part, false));
        QVERIFY(!reader.isViolated());
    }
    QVERIFY(!reader.read(part, false));
    QVERIFY(reader.isViolated());
}

void MessageCodecTest::readsNothingAfterAViolation() {
    MessageReader<ChildMessage> reader;
    QVERIFY(!reader.read(datagram(-1), false));
    QVERIFY(!reader.read(encoded<ChildMessage>(Ready{}).first(), false));
    QVERIFY(reader.isViolated());
}

void MessageCodecTest::refusesADescriptorThatTheMessageDoesNotHave() {
    QVERIFY(!readBack<HostMessage>(encoded<HostMessage>(Ping{1}), true));
    QVERIFY(!readBack<HostMessage>(encoded<HostMessage>(ShowPage{1, 10}), false));
    MessageReader<HostMessage> reader;
    QVERIFY(!reader.read(datagram(0), true));
    QVERIFY(reader.isViolated());
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::MessageCodecTest)
#include "MessageCodecTest.moc"
