#include "FeedServer.h"

#include "FeedConnection.h"
#include "FeedServerState.h"

#include <QEventLoop>
#include <QFile>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpServer>
#include <QThread>

#include <condition_variable>
#include <mutex>

namespace pelorinnews {

namespace {

/// Makes a FeedConnection for every incoming connection.
class Listener final : public QTcpServer {
public:
    Listener(const FeedFolder &feedFolder, std::optional<QSslConfiguration> tlsConfiguration,
             std::shared_ptr<FeedServerState> shared)
        : _folder(feedFolder), _tls(std::move(tlsConfiguration)), _state(std::move(shared)) {}

protected:
    void incomingConnection(qintptr descriptor) override {
        if (!_tls) {
            auto socket = std::make_unique<QTcpSocket>();
            if (socket->setSocketDescriptor(descriptor))
                new FeedConnection(std::move(socket), _state, _folder, this);
            return;
        }
        auto socket = std::make_unique<QSslSocket>();
        if (!socket->setSocketDescriptor(descriptor))
            return;
        socket->setSslConfiguration(*_tls);
        QSslSocket *encrypting = socket.get();
        new FeedConnection(std::move(socket), _state, _folder, this);
        encrypting->startServerEncryption();
    }

private:
    FeedFolder _folder;
    std::optional<QSslConfiguration> _tls;
    std::shared_ptr<FeedServerState> _state;
};

/// The TLS settings of `options`; absent if their files cannot be read, and `whyNot` then gets the
/// reason.
std::optional<QSslConfiguration> tlsConfiguration(const FeedServerOptions &options,
                                                  QString &whyNot) {
    const QList<QSslCertificate> chain =
        QSslCertificate::fromPath(options.certificateFile, QSsl::Pem);
    QFile keyFile(options.privateKeyFile);
    if (chain.isEmpty() || !keyFile.open(QIODevice::ReadOnly)) {
        whyNot = QStringLiteral("no certificate in %1 or no key in %2")
                     .arg(options.certificateFile, options.privateKeyFile);
        return std::nullopt;
    }
    const QByteArray pem = keyFile.readAll();
    QSslKey key(pem, QSsl::Ec);
    if (key.isNull())
        key = QSslKey(pem, QSsl::Rsa);
    if (key.isNull()) {
        whyNot = QStringLiteral("no usable key in ") + options.privateKeyFile;
        return std::nullopt;
    }
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(chain);
    configuration.setPrivateKey(key);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);  // Clients need no certificate.
    return configuration;
}

}  // namespace

/// Runs the listener. The port or the reason of the failure is handed over under a mutex, before
/// the event loop starts.
class FeedServer::Thread final : public QThread {
public:
    Thread(FeedServerOptions serverOptions, std::shared_ptr<FeedServerState> shared)
        : _options(std::move(serverOptions)), _state(std::move(shared)) {}

    /// Blocks until it listens or has failed. Returns the port, or 0 with the reason in `whyNot`.
    quint16 listeningPort(QString &whyNot) {
        std::unique_lock lock(_mutex);
        _settled.wait(lock, [this] { return _isSettled; });
        whyNot = _failure;
        return _port;
    }

protected:
    void run() override {
        QString whyNot;
        std::optional<QSslConfiguration> tls;
        const bool overTls =
            !_options.certificateFile.isEmpty() || !_options.privateKeyFile.isEmpty();
        if (overTls) {
            tls = tlsConfiguration(_options, whyNot);
            if (!tls) {
                settle(0, whyNot);
                return;
            }
        }
        Listener listener(FeedFolder(_options.feedFolder), tls, _state);
        if (!listener.listen(QHostAddress::LocalHost, _options.port)) {
            settle(0, listener.errorString());
            return;
        }
        settle(listener.serverPort(), {});
        exec();
    }

private:
    void settle(quint16 listening, const QString &whyNot) {
        const std::lock_guard lock(_mutex);
        _port = listening;
        _failure = whyNot;
        _isSettled = true;
        _settled.notify_all();
    }

    const FeedServerOptions _options;
    const std::shared_ptr<FeedServerState> _state;
    std::mutex _mutex;
    std::condition_variable _settled;
    bool _isSettled = false;
    quint16 _port = 0;
    QString _failure;
};

FeedServer::FeedServer(FeedServerOptions serverOptions)
    : _options(std::move(serverOptions)), _state(std::make_shared<FeedServerState>()) {}

FeedServer::~FeedServer() {
    stop();
}

bool FeedServer::start(QString *whyNot) {
    stop();
    auto starting = std::make_unique<Thread>(_options, _state);
    starting->start();
    QString reason;
    if (starting->listeningPort(reason) == 0) {
        starting->wait();
        if (whyNot)
            *whyNot = reason;
        return false;
    }
    _thread = std::move(starting);
    return true;
}

void FeedServer::stop() {
    if (!_thread)
        return;
    _thread->quit();
    _thread->wait();
    _thread.reset();
}

quint16 FeedServer::port() const {
    QString ignored;
    return _thread ? _thread->listeningPort(ignored) : quint16(0);
}

QString FeedServer::address(const QString &path) const {
    const QString scheme =
        _options.certificateFile.isEmpty() ? QStringLiteral("http") : QStringLiteral("https");
    return scheme + QStringLiteral("://127.0.0.1:") + QString::number(port()) + path;
}

QString FeedServer::feedAddress() const {
    return address(QStringLiteral("/RSS_Feed/PelorinNews.php"));
}

void FeedServer::setReply(const FeedReply &reply) {
    _state->setReply(reply);
}

void FeedServer::setReplyForPath(const QByteArray &path, const FeedReply &reply) {
    _state->setReplyForPath(path, reply);
}

void FeedServer::clearReplies() {
    _state->clearReplies();
}

std::vector<FeedRequest> FeedServer::requests() const {
    return _state->requests();
}

void FeedServer::clearRequests() {
    _state->clearRequests();
}

bool FeedServer::waitForRequests(std::size_t count, std::chrono::milliseconds timeout) const {
    return _state->waitForRequests(count, timeout);
}

int FeedServer::openConnections() const {
    return _state->openConnections();
}

}  // namespace pelorinnews
