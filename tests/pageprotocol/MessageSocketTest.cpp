// The connection between host and page process, tested with both ends in this process.

#include "TestMain.h"
#include "pageprotocol/MessageSocket.h"
#include "pageprotocol/SharedMemory.h"

#include <QSignalSpy>
#include <QTest>

#include <sys/socket.h>
#include <unistd.h>

namespace pelorinnews::test {

using pageprotocol::RawMessage;
using Descriptors = MessageSocket::Descriptors;

namespace {

RawMessage numbered(qint32 number) {
    RawMessage datagram{};
    datagram.type = 1;
    datagram.numbers[0] = number;
    return datagram;
}

/// An end that records what it receives.
struct End {
    End(FileDescriptor end, Descriptors accepted)
        : socket(std::move(end), accepted,
                 [this](const RawMessage &datagram, FileDescriptor descriptor) {
                     received.append(datagram.numbers[0]);
                     descriptors.push_back(std::move(descriptor));
                     return datagram.numbers[0] != refused;
                 }),
          closed(&socket, &MessageSocket::closed) {}

    QList<qint32> received;
    std::vector<FileDescriptor> descriptors;
    qint32 refused = -1;
    MessageSocket socket;
    QSignalSpy closed;
};

}  // namespace

class MessageSocketTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void deliversInOrder();
    void deliversADescriptor();
    void closesWhereADescriptorIsRefused();
    void keepsWhatTheOtherSideDoesNotTakeYet();
    void tellsOnceThatTheQueueIsEmpty();
    void givesUpAnEndThatTakesNothing();
    void tellsThatTheOtherSideIsGone();
    void closesAfterAViolation();
    void closesAfterADatagramOfAnotherSize_data();
    void closesAfterADatagramOfAnotherSize();
    void isSilentAfterClose();
};

void MessageSocketTest::deliversInOrder() {
    auto [one, other] = MessageSocket::createPair();
    End host(std::move(one), Descriptors::Refuse);
    End child(std::move(other), Descriptors::Accept);
    QList<qint32> sent;
    for (qint32 i = 0; i < 1000; ++i) {
        host.socket.send({numbered(i)});
        sent.append(i);
    }
    child.socket.send({numbered(7), numbered(8)});
    QTRY_COMPARE(child.received, sent);
    QTRY_COMPARE(host.received, (QList<qint32>{7, 8}));
    QVERIFY(host.closed.isEmpty() && child.closed.isEmpty());
}

void MessageSocketTest::deliversADescriptor() {
    auto [one, other] = MessageSocket::createPair();
    End host(std::move(one), Descriptors::Refuse);
    End child(std::move(other), Descriptors::Accept);
    host.socket.send({numbered(1), numbered(2)}, SharedMemory::createSealed("content"));
    QTRY_COMPARE(child.received, (QList<qint32>{1, 2}));
    QVERIFY(!child.descriptors.at(0).isValid());
    const auto memory = SharedMemory::map(child.descriptors.at(1), 7, SharedMemory::Access::Read);
    QVERIFY(memory);
    QCOMPARE(memory->data()[0], uchar{'c'});
}

void MessageSocketTest::closesWhereADescriptorIsRefused() {
    auto [one, other] = MessageSocket::createPair();
    End host(std::move(one), Descriptors::Refuse);
    End child(std::move(other), Descriptors::Accept);
    child.socket.send({numbered(1)}, SharedMemory::create(1));
    QTRY_COMPARE(host.closed.count(), 1);
    QVERIFY(host.received.isEmpty());
    QTRY_COMPARE(child.closed.count(), 1);
}

void MessageSocketTest::keepsWhatTheOtherSideDoesNotTakeYet() {
    auto [one, other] = MessageSocket::createPair();
    End host(std::move(one), Descriptors::Refuse);
    QList<qint32> sent;
    for (qint32 i = 0; i < 5000; ++i) {
        host.socket.send({numbered(i)});
        sent.append(i);
    }
    QVERIFY(host.socket.isOpen());
    End child(std::move(other), Descriptors::Accept);
    QTRY_COMPARE(child.received, sent);
    QVERIFY(host.closed.isEmpty());
}

// Even if a later call of `send` has emptied the queue.
void MessageSocketTest::tellsOnceThatTheQueueIsEmpty() {
    auto [one, other] = MessageSocket::createPair();
    End host(std::move(one), Descriptors::Refuse);
    const QSignalSpy drained(&host.socket, &MessageSocket::drained);
    while (!host.socket.isWaiting())
        host.socket.send({numbered(1)});
    RawMessage datagram{};
    while (::recv(other.get(), &datagram, sizeof datagram, MSG_DONTWAIT) > 0) {
    }
    host.socket.send({numbered(2)});
    QVERIFY(!host.socket.isWaiting());
    QVERIFY(drained.isEmpty());
    QTRY_COMPARE(drained.count(), 1);
    // Nothing waits any more, so nothing is told again.
    host.socket.send({numbered(3)});
    QTest::qWait(50);
    QCOMPARE(drained.count(), 1);
}

void MessageSocketTest::givesUpAnEndThatTakesNothing() {
    auto [one, other] = MessageSocket::createPair();
    End host(std::move(one), Descriptors::Refuse);
    for (qint32 i = 0; i < 20'000 && host.socket.isOpen(); ++i)
        host.socket.send({numbered(i)});
    QVERIFY(!host.socket.isOpen());
    QTRY_COMPARE(host.closed.count(), 1);
}

void MessageSocketTest::tellsThatTheOtherSideIsGone() {
    auto [one, other] = MessageSocket::createPair();
    End host(std::move(one), Descriptors::Refuse);
    other = FileDescriptor();
    QTRY_COMPARE(host.closed.count(), 1);
    QVERIFY(!host.socket.isOpen());
    host.socket.send({numbered(1)});
    QTest::qWait(0);
    QCOMPARE(host.closed.count(), 1);
}

void MessageSocketTest::closesAfterAViolation() {
    auto [one, other] = MessageSocket::createPair();
    End host(std::move(one), Descriptors::Refuse);
    End child(std::move(other), Descriptors::Accept);
    host.refused = 2;
    child.socket.send({numbered(1), numbered(2), numbered(3)});
    QTRY_COMPARE(host.closed.count(), 1);
    QCOMPARE(host.received, (QList<qint32>{1, 2}));
}

void MessageSocketTest::closesAfterADatagramOfAnotherSize_data() {
    QTest::addColumn<qsizetype>("size");
    QTest::newRow("one byte") << qsizetype{1};
    QTest::newRow("a byte less") << qsizetype{sizeof(RawMessage)} - 1;
    QTest::newRow("a byte more") << qsizetype{sizeof(RawMessage)} + 1;
}

void MessageSocketTest::closesAfterADatagramOfAnotherSize() {
    QFETCH(qsizetype, size);
    auto [one, other] = MessageSocket::createPair();
    End host(std::move(one), Descriptors::Refuse);
    const QByteArray bytes(size, '\1');
    QCOMPARE(::send(other.get(), bytes.constData(), static_cast<size_t>(size), 0), size);
    QTRY_COMPARE(host.closed.count(), 1);
    QVERIFY(host.received.isEmpty());
}

void MessageSocketTest::isSilentAfterClose() {
    auto [one, other] = MessageSocket::createPair();
    End host(std::move(one), Descriptors::Refuse);
    End child(std::move(other), Descriptors::Accept);
    child.socket.send({numbered(1)});
    host.socket.close();
    QTRY_COMPARE(child.closed.count(), 1);
    QVERIFY(host.received.isEmpty());
    QVERIFY(host.closed.isEmpty());
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::MessageSocketTest)
#include "MessageSocketTest.moc"
