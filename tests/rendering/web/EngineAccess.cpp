#include "EngineAccess.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QTest>

namespace pelorinnews::test {

namespace {

QJsonObject nextLine(QLocalSocket &socket) {
    return QJsonDocument::fromJson(socket.readLine()).object();
}

}  // namespace

EngineAccess &EngineAccess::instance() {
    static QPointer<EngineAccess> only;
    if (!only) {
        only = new EngineAccess;
        only->setParent(QCoreApplication::instance());
    }
    return *only;
}

EngineAccess::EngineAccess() {
    if (!_server.listen(QDir::homePath() + QStringLiteral("/page-probe")))
        qFatal("no socket for the page processes: %s", qPrintable(_server.errorString()));
}

QLocalSocket *EngineAccess::takeConnection() {
    return _server.nextPendingConnection();
}

void EngineAccess::forgetConnections() {
    while (_server.waitForNewConnection(0))
        delete _server.nextPendingConnection();
}

bool Engine::connectIfNeeded() {
    if (_socket && _socket->state() == QLocalSocket::ConnectedState)
        return true;
    _socket = EngineAccess::instance().takeConnection();
    _process = 0;
    return _socket != nullptr;
}

QJsonValue Engine::ask(const QString &what, const QString &text) {
    // A page that is being replaced, or whose process ends, never answers. After this time the
    // question is repeated, so that the new page answers it.
    constexpr std::chrono::milliseconds answerTimeout{2000};
    QElapsedTimer sinceAsked;
    QJsonValue answer(QJsonValue::Undefined);
    const auto answered = [&] {
        const QPointer<QLocalSocket> before = _socket;
        if (!connectIfNeeded())
            return false;
        if (_socket != before || !sinceAsked.isValid() ||
            sinceAsked.hasExpired(answerTimeout.count())) {
            sinceAsked.start();
            const QJsonObject request{{QStringLiteral("id"), ++_lastId},
                                      {QStringLiteral("do"), what},
                                      {QStringLiteral("text"), text}};
            _socket->write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
        }
        while (_socket->canReadLine()) {
            const QJsonObject line = nextLine(*_socket);
            if (line.contains(u"process"))
                _process = line[u"process"].toInteger();
            else if (line[u"id"].toInt() == _lastId)
                answer = line.contains(u"value") ? line[u"value"] : QJsonValue();
        }
        return !answer.isUndefined();
    };
    waitUntil(answered, "the engine does not answer");
    return answer;
}

qint64 Engine::process() {
    static_cast<void>(state());
    return _process;
}

QJsonObject Engine::state() {
    return ask(QStringLiteral("state")).toObject();
}

void waitUntil(const std::function<bool()> &happened, const char *otherwise) {
    QElapsedTimer clock;
    clock.start();
    while (!happened()) {
        if (clock.hasExpired(testPatience))
            qFatal("%s", otherwise);
        QTest::qWait(5);
    }
}

}  // namespace pelorinnews::test
