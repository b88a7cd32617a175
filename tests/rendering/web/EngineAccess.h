#pragma once

#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>

#include <functional>

namespace pelorinnews::test {

/// Accepts the connections of the page processes that the test starts (see PageProbe.cpp). The
/// first call of `instance` creates it, and needs the application object and the test's home
/// folder.
class EngineAccess final : public QObject {
public:
    [[nodiscard]] static EngineAccess &instance();

    /// The oldest connection that no caller has taken yet; null if there is none.
    [[nodiscard]] QLocalSocket *takeConnection();

    /// Closes all connections that no caller has taken yet.
    void forgetConnections();

private:
    EngineAccess();
    QLocalServer _server;
};

/// Looks into the engine's page of one content view, through whichever page process shows it.
class Engine {
public:
    /// The engine's answer. If the page process ends meanwhile, the next page process is asked.
    /// Ends the test program on timeout.
    [[nodiscard]] QJsonValue ask(const QString &what, const QString &text = {});

    /// Whether a page process is connected now.
    [[nodiscard]] bool isConnected() { return connectIfNeeded(); }

    /// The process id of the page process; waits for it.
    [[nodiscard]] qint64 process();

    /// A record of what the page has done since its process was started (see `PageProbe::state`).
    [[nodiscard]] QJsonObject state();

private:
    bool connectIfNeeded();

    QPointer<QLocalSocket> _socket;
    qint64 _process = 0;
    int _lastId = 0;
};

/// Waits until `happened` returns true; ends the test program with the message `otherwise` on
/// timeout. (Qt's own wait checks only when no event is left, and a painting engine always has
/// some.)
void waitUntil(const std::function<bool()> &happened, const char *otherwise);

}  // namespace pelorinnews::test
