#include "DevelopmentCertificates.h"
#include "LoadedAddress.h"
#include "ServerAnswers.h"
#include "TestAuthority.h"
#include "TestMain.h"
#include "network/NetworkUrlLoader.h"
#include "network/TransportError.h"

#include <map>

using namespace pelorinnews;
using namespace pelorinnews::test;
using namespace std::chrono_literals;
using Outcome = ServerAnswer::Outcome;

namespace {

constexpr ServerAnswer::Channel channels[] = {ServerAnswer::Plain, ServerAnswer::Tls,
                                              ServerAnswer::TlsWithoutNotify};
const char *const channelNames[] = {"HTTP", "HTTPS", "HTTPS without close_notify"};

}  // namespace

/// Tests the loader's results for all `serverAnswers`, over plain TCP and TLS.
class ServerAnswersTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void answers_data();
    void answers();

private:
    /// One row: an answer on a channel, identified by its path.
    struct Row {
        ServerAnswer answer;
        int channel = 0;
    };
    [[nodiscard]] Script scriptFor(const QByteArray &requestHead) const;
    /// Sends the requests of `row` and of some rows after it, so that they run in parallel.
    void sendAhead(int row);

    QList<Row> _rows;
    std::unique_ptr<TestAuthority> _authority;
    QThreadPool _queue;
    std::unique_ptr<ScriptedServer> _plain;
    std::unique_ptr<ScriptedServer> _tls;
    NetworkUrlLoader _loader{maxAnswerBody};
    std::map<int, LoadedAddress> _loads;
    int _sent = 0;
};

void ServerAnswersTest::initTestCase() {
    for (const char *proxy :
         {"http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY", "all_proxy"})
        qunsetenv(proxy);
    for (const ServerAnswer &answer : serverAnswers())
        for (int channel = 0; channel < 3; ++channel)
            if ((answer.channels & channels[channel]) != 0)
                _rows.append({answer, channel});
    _authority = std::make_unique<TestAuthority>();
    const auto files = _authority->issue(DevelopmentCertificates::Kind::Valid);
    const auto choice = [this](const QByteArray &head) { return scriptFor(head); };
    _plain = std::make_unique<ScriptedServer>(choice);
    _tls = std::make_unique<ScriptedServer>(choice, files.certificate, files.privateKey);
}

Script ServerAnswersTest::scriptFor(const QByteArray &requestHead) const {
    const QByteArray target = requestHead.split(' ').value(1);
    const QByteArray number = target.split('/').value(1);
    if (number.startsWith("whole"))
        return {{"HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(answeredBody().size()) +
                 "\r\n\r\n" + answeredBody()}};
    const Row row = _rows.value(number.toInt());
    Script script = row.answer.script;
    if (channels[row.channel] == ServerAnswer::TlsWithoutNotify && script.end == Script::End::Close)
        script.end = Script::End::Cut;
    return script;
}

void ServerAnswersTest::sendAhead(int row) {
    constexpr int sideBySide = 40;
    for (; _sent < _rows.size() && _sent < row + sideBySide; ++_sent) {
        const Row &sending = _rows[_sent];
        const bool impatient = sending.answer.script.pause != std::chrono::milliseconds(0);
        const QString path = QStringLiteral("/%1/folder/feed").arg(_sent);
        const ScriptedServer &server =
            channels[sending.channel] == ServerAnswer::Plain ? *_plain : *_tls;
        _loads.emplace(std::piecewise_construct, std::forward_as_tuple(_sent),
                       std::forward_as_tuple(_loader, QUrl(server.address(path)), &_queue,
                                             impatient ? answerIdleTimeout : 60s));
    }
}

void ServerAnswersTest::answers_data() {
    QTest::addColumn<int>("row");
    for (int row = 0; row < _rows.size(); ++row)
        QTest::addRow("%s over %s", _rows[row].answer.name.constData(),
                      channelNames[_rows[row].channel])
            << row;
}

void ServerAnswersTest::answers() {
    QFETCH(const int, row);
    sendAhead(row);
    const ServerAnswer &answer = _rows[row].answer;
    LoadedAddress &loaded = _loads.at(row);
    QVERIFY(loaded.wait());
    const std::optional<Error> error = loaded.connectionError();
    const QString came =
        QStringLiteral("status %1, %2, %3")
            .arg(loaded.status().value_or(0))
            .arg(loaded.data() ? QStringLiteral("%1 bytes").arg(loaded.data()->size())
                               : QStringLiteral("no body"),
                 error ? error->description() : QStringLiteral("no error"));
    if (answer.outcome == Outcome::Whole) {
        QVERIFY2(!error, qPrintable(came));
        QVERIFY2(loaded.status() == answer.status, qPrintable(came));
        QVERIFY2(loaded.data() == answer.body, qPrintable(came));
    } else if (answer.outcome == Outcome::StatusAndError) {
        QVERIFY2(error, qPrintable(came));
        QVERIFY2(loaded.status() == answer.status, qPrintable(came));
    } else {
        QVERIFY2(error, qPrintable(came));
        QVERIFY2(!loaded.data(), qPrintable(came));
        const bool timedOut = error->code == static_cast<int>(TransportError::TimedOut);
        QVERIFY2(timedOut == (answer.outcome == Outcome::Timeout), qPrintable(came));
        QVERIFY(!error->userInfo.value(Error::localizedDescriptionKey()).toString().isEmpty());
    }
    QCOMPARE(loaded.calls(), 1);
}

PELORIN_CORE_TEST_MAIN(ServerAnswersTest)
#include "ServerAnswersTest.moc"
