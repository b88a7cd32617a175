// Lets a test look into the engine's page. Linked into a page process of the tests' own: connects
// to the test, runs scripts in the page, and records what the page does.
//
// The socket is `page-probe` in the home folder; requests and answers are JSON objects, one a line.

#include <QApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QTimer>
#include <QWebEngineDownloadRequest>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineScript>
#include <QWebEngineView>

#include <csignal>
#include <unistd.h>

namespace {

class PageProbe final : public QObject {
public:
    explicit PageProbe(QWebEngineView &view) : QObject(&view), _page(*view.page()) {
        connect(&_page, &QWebEnginePage::loadStarted, this, [this] { ++_loadsStarted; });
        connect(&_page, &QWebEnginePage::loadFinished, this, [this](bool isOk) {
            ++_loadsFinished;
            _isLastLoadOk = isOk;
        });
        connect(&_page, &QWebEnginePage::recentlyAudibleChanged, this, [this] { _heard = true; });
        connect(&_page, &QWebEnginePage::linkHovered, this,
                [this](const QString &address) { _hovered = address; });
        connect(&_page, &QWebEnginePage::renderProcessTerminated, this, [this] { ++_engineEnds; });
        // This slot runs after the page process's own, which has handled the download by then.
        connect(_page.profile(), &QWebEngineProfile::downloadRequested, this,
                [this](const QWebEngineDownloadRequest *download) {
                    ++_downloads;
                    _goesOn = _goesOn || !download->isFinished();
                });
        connect(&_page, &QWebEnginePage::featurePermissionRequested, this,
                [this](const QUrl &, QWebEnginePage::Feature feature) { _wanted.append(feature); });
        connect(&_socket, &QLocalSocket::readyRead, this, [this] {
            while (_socket.canReadLine())
                answer(QJsonDocument::fromJson(_socket.readLine()).object());
        });
        _socket.connectToServer(QDir::homePath() + QStringLiteral("/page-probe"));
        send({{QStringLiteral("process"), qint64{::getpid()}}});
    }

private:
    void send(const QJsonObject &object) {
        _socket.write(QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n');
    }

    void answer(const QJsonObject &request) {
        const QJsonValue id = request[u"id"];
        const QString what = request[u"do"].toString();
        const QString text = request[u"text"].toString();
        const auto reply = [this, id](const QJsonValue &value) {
            send({{QStringLiteral("id"), id}, {QStringLiteral("value"), value}});
        };
        if (what == u"evaluate") {
            _page.runJavaScript(
                text, QWebEngineScript::ApplicationWorld,
                [reply](const QVariant &value) { reply(QJsonValue::fromVariant(value)); });
        } else if (what == u"text") {
            _page.toPlainText([reply](const QString &all) { reply(all); });
        } else if (what == u"trigger") {
            _page.triggerAction(static_cast<QWebEnginePage::WebAction>(text.toInt()));
            reply(true);
        } else if (what == u"load") {
            _page.load(QUrl(text));
            reply(true);
        } else if (what == u"crash") {
            ::raise(text.toInt());
        } else {
            reply(state());
        }
    }

    [[nodiscard]] QJsonObject state() const {
        return {{QStringLiteral("loadsStarted"), _loadsStarted},
                {QStringLiteral("loadsFinished"), _loadsFinished},
                {QStringLiteral("isLastLoadOk"), _isLastLoadOk},
                {QStringLiteral("downloads"), _downloads},
                {QStringLiteral("goesOn"), _goesOn},
                {QStringLiteral("heard"), _heard},
                {QStringLiteral("wanted"), _wanted},
                {QStringLiteral("downloadFolder"), _page.profile()->downloadPath()},
                {QStringLiteral("engineProcess"), _page.renderProcessPid()},
                {QStringLiteral("engineEnds"), _engineEnds},
                {QStringLiteral("isDiscarded"),
                 _page.lifecycleState() == QWebEnginePage::LifecycleState::Discarded},
                {QStringLiteral("isVisible"), _page.isVisible()},
                {QStringLiteral("hovered"), _hovered},
                {QStringLiteral("address"), _page.url().toString()}};
    }

    QWebEnginePage &_page;
    QLocalSocket _socket;
    int _loadsStarted = 0;
    int _loadsFinished = 0;
    bool _isLastLoadOk = false;
    int _downloads = 0;
    // Whether a download continued although it should have been refused.
    bool _goesOn = false;
    bool _heard = false;
    int _engineEnds = 0;
    QString _hovered;
    QJsonArray _wanted;
};

void startProbe() {
    // A fake camera and a fake microphone: without devices, the engine would not ask for
    // permission.
    qputenv("QTWEBENGINE_CHROMIUM_FLAGS",
            qgetenv("QTWEBENGINE_CHROMIUM_FLAGS") + " --use-fake-device-for-media-stream");
    // The view exists once the event loop runs.
    QTimer::singleShot(0, [] {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (auto *view = qobject_cast<QWebEngineView *>(window))
                new PageProbe(*view);
        }
    });
}

}  // namespace

Q_COREAPP_STARTUP_FUNCTION(startProbe)
