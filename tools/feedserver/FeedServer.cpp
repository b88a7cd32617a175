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
        : folder(feedFolder), tls(std::move(tlsConfiguration)), state(std::move(shared)) {}

protected:
    void incomingConnection(qintptr descriptor) override {
        if (!tls) {
            auto socket = std::make_unique<QTcpSocket>();
            if (socket->setSocketDescriptor(descriptor))
                new FeedConnection(std::move(socket), state, folder, this);
            return;
        }
        auto socket = std::make_unique<QSslSocket>();
        if (!socket->setSocketDescriptor(descriptor))
            return;
        socket->setSslConfiguration(*tls);
        QSslSocket *encrypting = socket.get();
        new FeedConnection(std::move(socket), state, folder, this);
        encrypting->startServerEncryption();
    }

private:
    FeedFolder folder;
    std::optional<QSslConfiguration> tls;
    std::shared_ptr<FeedServerState> state;
};

/// The TLS settings of `options`; absent, with the reason, when they cannot be read.
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
        : options(std::move(serverOptions)), state(std::move(shared)) {}

    /// Blocks until it listens or has failed. Returns the port, or 0 with the reason in `whyNot`.
    quint16 listeningPort(QString &whyNot) {
        std::unique_lock lock(mutex);
        settled.wait(lock, [this] { return isSettled; });
        whyNot = failure;
        return port;
    }

protected:
    void run() override {
        QString whyNot;
        std::optional<QSslConfiguration> tls;
        const bool overTls =
            !options.certificateFile.isEmpty() || !options.privateKeyFile.isEmpty();
        if (overTls) {
            tls = tlsConfiguration(options, whyNot);
            if (!tls) {
                settle(0, whyNot);
                return;
            }
        }
        Listener listener(FeedFolder(options.feedFolder), tls, state);
        if (!listener.listen(QHostAddress::LocalHost, options.port)) {
            settle(0, listener.errorString());
            return;
        }
        settle(listener.serverPort(), {});
        exec();
    }

private:
    void settle(quint16 listening, const QString &whyNot) {
        const std::lock_guard lock(mutex);
        port = listening;
        failure = whyNot;
        isSettled = true;
        settled.notify_all();
    }

    const FeedServerOptions options;
    const std::shared_ptr<FeedServerState> state;
    std::mutex mutex;
    std::condition_variable settled;
    bool isSettled = false;
    quint16 port = 0;
    QString failure;
};

FeedServer::FeedServer(FeedServerOptions serverOptions)
    : options(std::move(serverOptions)), state(std::make_shared<FeedServerState>()) {}

FeedServer::~FeedServer() {
    stop();
}

bool FeedServer::start(QString *whyNot) {
    stop();
    auto starting = std::make_unique<Thread>(options, state);
    starting->start();
    QString reason;
    if (starting->listeningPort(reason) == 0) {
        starting->wait();
        if (whyNot)
            *whyNot = reason;
        return false;
    }
    thread = std::move(starting);
    return true;
}

void FeedServer::stop() {
    if (!thread)
        return;
    thread->quit();
    thread->wait();
    thread.reset();
}

quint16 FeedServer::port() const {
    QString ignored;
    return thread ? thread->listeningPort(ignored) : quint16(0);
}

QString FeedServer::address(const QString &path) const {
    const QString scheme =
        options.certificateFile.isEmpty() ? QStringLiteral("http") : QStringLiteral("https");
    return scheme + QStringLiteral("://127.0.0.1:") + QString::number(port()) + path;
}

QString FeedServer::feedAddress() const {
    return address(QStringLiteral("/RSS_Feed/PelorinNews.php"));
}

void FeedServer::setReply(const FeedReply &reply) {
    state->setReply(reply);
}

void FeedServer::setReplyForPath(const QByteArray &path, const FeedReply &reply) {
    state->setReplyForPath(path, reply);
}

void FeedServer::clearReplies() {
    state->clearReplies();
}

std::vector<FeedRequest> FeedServer::requests() const {
    return state->requests();
}

void FeedServer::clearRequests() {
    state->clearRequests();
}

bool FeedServer::waitForRequests(std::size_t count, std::chrono::milliseconds timeout) const {
    return state->waitForRequests(count, timeout);
}

int FeedServer::openConnections() const {
    return state->openConnections();
}

}  // namespace pelorinnews
