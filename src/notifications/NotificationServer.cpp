#include "NotificationServer.h"

#include "platform/BusProbe.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QRegularExpression>
#include <QUuid>

#include <limits>
#include <utility>

namespace pelorinnews {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString busService = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");

// No timeout: a hung server may reply at any time, and the reply to a delivery must not get lost.
// That reply holds the server id, without which the notification cannot be withdrawn.
constexpr int withoutTimeout = std::numeric_limits<int>::max();
// In UTF-16 units: nobody reads more in a pop-up. A broken feed may hold a text so large that the
// bus would disconnect us because of the message's size.
constexpr int maxTextLength = 4096;

QDBusMessage serverCall(const QString &destination, const QString &method) {
    return QDBusMessage::createMethodCall(destination, path, service, method);
}

QDBusMessage busCall(const QString &method, const QVariantList &arguments = {}) {
    QDBusMessage message = QDBusMessage::createMethodCall(busService, busPath, busService, method);
    message.setArguments(arguments);
    return message;
}

bool isError(const QDBusMessage &reply) {
    return reply.type() != QDBusMessage::ReplyMessage;
}

// Whether the error means that no server received the call, rather than that a server refused it.
bool isServerGone(const QDBusMessage &reply) {
    switch (QDBusError(reply).type()) {
        case QDBusError::ServiceUnknown:
        case QDBusError::NoReply:
        case QDBusError::NoServer:
        case QDBusError::NoNetwork:
        case QDBusError::Timeout:
        case QDBusError::TimedOut:
        case QDBusError::Disconnected:
            return true;
        default:
            return reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
    }
}

/// `name` if it is a unique bus name; empty if it is not. libdbus ends the process if a message is
/// sent to a name that is none.
QString uniqueName(const QString &name) {
    static const QRegularExpression form(
        QStringLiteral("\\A:[A-Za-z0-9_-]+(\\.[A-Za-z0-9_-]+)+\\z"));
    constexpr qsizetype maxLength = 255;
    return name.size() <= maxLength && form.match(name).hasMatch() ? name : QString();
}

QVariant firstArgument(const QDBusMessage &message) {
    return message.arguments().value(0);
}

QString plainText(QString text) {
    // D-Bus strings cannot hold null characters.
    text.remove(QChar(QChar::Null));
    if (text.size() <= maxTextLength)
        return text;
    text.truncate(text.at(maxTextLength - 1).isHighSurrogate() ? maxTextLength - 1 : maxTextLength);
    return text;
}

// Some servers report a click only for an action that has a label, so every server gets the label.
// The exceptions are servers that draw a button for a label although they report clicks without
// one, too.
bool hearsClicksWithoutButton(const QString &serverName) {
    return serverName == QLatin1String("lxqt-notificationd");
}

QString soundName(const QString &name) {
    return name == UserNotification::defaultSoundName() ? QStringLiteral("message-new-instant")
                                                        : name;
}

}  // namespace

NotificationServer::NotificationServer(QString originName, QString originDesktopEntry,
                                       QString actionLabel)
    : _applicationName(std::move(originName)),
      _desktopEntry(std::move(originDesktopEntry)),
      _label(std::move(actionLabel)),
      _connectionLabel(QStringLiteral("pelorinnews-notifications-") +
                       QUuid::createUuid().toString(QUuid::WithoutBraces)),
      _connection(QString()) {}

NotificationServer::~NotificationServer() {
    _connection = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(_connectionLabel);
}

bool NotificationServer::open(const QString &address) {
    if (!busAnswers(address))
        return false;
    _connection = address.isEmpty()
                      ? QDBusConnection::connectToBus(QDBusConnection::SessionBus, _connectionLabel)
                      : QDBusConnection::connectToBus(address, _connectionLabel);
    if (!_connection.isConnected())
        return false;
    listen();
    // Ask for the owner only after this reply: the replies to two pending calls may arrive in
    // either order.
    call(busCall(QStringLiteral("GetId")), [this](const QDBusMessage &reply) {
        _bus = firstArgument(reply).toString();
        if (!_bus.isEmpty())
            askOwner();
    });
    return true;
}

void NotificationServer::askOwner() {
    call(busCall(QStringLiteral("GetNameOwner"), {service}), [this](const QDBusMessage &reply) {
        // Calls that were waiting fail after the connection has ended.
        if (_isDisconnected)
            return;
        // If a `NameOwnerChanged` signal has arrived meanwhile, it is at least as recent as this
        // reply: keep the owner that it reported.
        if (!_ownerChanged && !isError(reply))
            _serverOwner = uniqueName(firstArgument(reply).toString());
        _known = true;
        Q_EMIT serverChanged();
    });
}

void NotificationServer::listen() {
    _connection.connect(busService, busPath, busService, QStringLiteral("NameOwnerChanged"),
                        {service}, QString(), this, SLOT(onNameOwnerChanged(QDBusMessage)));
    _connection.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                        QStringLiteral("org.freedesktop.DBus.Local"),
                        QStringLiteral("Disconnected"), this, SLOT(onDisconnected()));
    // No sender in the match rule: Qt would block on the bus to resolve its name. Each signal
    // carries its sender, which the slots check.
    _connection.connect(QString(), path, service, QStringLiteral("NotificationClosed"), this,
                        SLOT(onNotificationClosed(QDBusMessage)));
    _connection.connect(QString(), path, service, QStringLiteral("ActivationToken"), this,
                        SLOT(onActivationToken(QDBusMessage)));
    _connection.connect(QString(), path, service, QStringLiteral("ActionInvoked"), this,
                        SLOT(onActionInvoked(QDBusMessage)));
}

void NotificationServer::call(const QDBusMessage &message,
                              std::function<void(const QDBusMessage &)> done) {
    auto *watcher =
        new QDBusPendingCallWatcher(_connection.asyncCall(message, withoutTimeout), this);
    const auto finish = [watcher, done = std::move(done)] {
        watcher->deleteLater();
        done(watcher->reply());
    };
    // Single shot: if the reply arrives while the watcher is being made, the watcher may emit
    // `finished` twice, and later than the watchers of subsequent replies.
    connect(watcher, &QDBusPendingCallWatcher::finished, this, finish,
            static_cast<Qt::ConnectionType>(Qt::AutoConnection | Qt::SingleShotConnection));
}

void NotificationServer::askTraits(TraitsCallback done) {
    // To the unique name: the query must not reach a successor of the server that we know, which
    // may have ended a moment ago. If we know none, to the service, so that the bus starts one.
    const QString destination = _serverOwner.isEmpty() ? service : _serverOwner;
    const auto askName = [this, destination, done](Traits traits) {
        call(serverCall(destination, QStringLiteral("GetServerInformation")),
             [done, traits = std::move(traits)](const QDBusMessage &reply) mutable {
                 if (!isError(reply))
                     traits.name = firstArgument(reply).toString();
                 done(std::move(traits));
             });
    };
    call(serverCall(destination, QStringLiteral("GetCapabilities")),
         [done = std::move(done), askName](const QDBusMessage &reply) {
             if (!isError(reply))
                 askName({firstArgument(reply).toStringList(), QString()});
             else if (QDBusError(reply).type() == QDBusError::UnknownMethod)
                 askName({});
             else
                 done(std::nullopt);
         });
}

QStringList NotificationServer::actionsFor(const Traits &traits) const {
    // No actions for a server that does not support them: it may show a dialog instead of a pop-up
    // (notify-osd).
    if (traits.capabilities && !traits.capabilities->contains(QLatin1String("actions")))
        return {};
    return {QStringLiteral("default"), hearsClicksWithoutButton(traits.name) ? QString() : _label};
}

void NotificationServer::notify(const UserNotification &notification, const Traits &traits,
                                NotifyCallback done) {
    QString body = plainText(notification.informativeText);
    if (traits.capabilities && traits.capabilities->contains(QLatin1String("body-markup")))
        body = body.toHtmlEscaped();

    QVariantMap hints{{QStringLiteral("desktop-entry"), _desktopEntry}};
    if (!notification.soundName.isNull())
        hints.insert(QStringLiteral("sound-name"), soundName(notification.soundName));

    // Send to the unique name, so that the call reaches only the server to which the list applies,
    // never its successor.
    QDBusMessage message = serverCall(_serverOwner, QStringLiteral("Notify"));
    message << _applicationName << quint32(0) << QString() << plainText(notification.title) << body
            << actionsFor(traits) << hints << qint32(-1);
    call(message, [done = std::move(done)](const QDBusMessage &reply) {
        if (isError(reply)) {
            done(isServerGone(reply) ? Outcome::ServerGone : Outcome::Refused, 0);
            return;
        }
        const quint32 serverId = firstArgument(reply).toUInt();
        done(serverId == 0 ? Outcome::Refused : Outcome::Delivered, serverId);
    });
}

void NotificationServer::close(quint32 serverId, Callback done) {
    QDBusMessage message = serverCall(_serverOwner, QStringLiteral("CloseNotification"));
    message << serverId;
    call(message, [done = std::move(done)](const QDBusMessage &) { done(); });
}

void NotificationServer::askIsOnBus(const QString &name, BoolCallback done) {
    call(busCall(QStringLiteral("NameHasOwner"), {name}),
         [done = std::move(done)](const QDBusMessage &reply) {
             done(!isError(reply) && firstArgument(reply).toBool());
         });
}

bool NotificationServer::isFromServer(const QDBusMessage &message) const {
    return _known && !_serverOwner.isEmpty() && message.service() == _serverOwner;
}

void NotificationServer::onNotificationClosed(const QDBusMessage &message) {
    if (isFromServer(message) && message.signature() == QLatin1String("uu"))
        Q_EMIT closed(firstArgument(message).toUInt(), message.arguments().value(1).toUInt());
}

void NotificationServer::onActivationToken(const QDBusMessage &message) {
    if (isFromServer(message) && message.signature() == QLatin1String("us"))
        Q_EMIT activationTokenReceived(firstArgument(message).toUInt(),
                                       message.arguments().value(1).toString());
}

void NotificationServer::onActionInvoked(const QDBusMessage &message) {
    if (isFromServer(message) && message.signature() == QLatin1String("us"))
        Q_EMIT activated(firstArgument(message).toUInt());
}

void NotificationServer::onNameOwnerChanged(const QDBusMessage &message) {
    if (message.signature() != QLatin1String("sss"))
        return;
    _serverOwner = uniqueName(message.arguments().value(2).toString());
    _ownerChanged = true;
    if (_known)
        Q_EMIT serverChanged();
}

void NotificationServer::onDisconnected() {
    _serverOwner.clear();
    _known = false;
    _isDisconnected = true;
    Q_EMIT serverChanged();
}

}  // namespace pelorinnews
