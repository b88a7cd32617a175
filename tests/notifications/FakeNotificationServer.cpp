#include "FakeNotificationServer.h"

namespace pelorinnews::test {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");

}  // namespace

FakeNotificationServer::FakeNotificationServer(const QDBusConnection &connection)
    : _bus(connection) {
    if (!_bus.registerObject(path, this, QDBusConnection::ExportAllSlots) ||
        !_bus.registerService(service))
        qFatal("cannot register the notification service");
}

FakeNotificationServer::~FakeNotificationServer() {
    _bus.unregisterService(service);
    _bus.unregisterObject(path);
}

uint FakeNotificationServer::Notify(const QString &applicationName, uint replaces,
                                    const QString &icon, const QString &summary,
                                    const QString &body, const QStringList &actions,
                                    const QVariantMap &hints, int timeout) {
    deliveries.push_back(
        {applicationName, replaces, icon, summary, body, actions, hints, timeout, message()});
    if (refuses) {
        sendErrorReply(QDBusError::LimitsExceeded, QStringLiteral("too many"));
        return 0;
    }
    if (holdsAnswers) {
        setDelayedReply(true);
        return 0;
    }
    return nextId++;
}

QStringList FakeNotificationServer::GetCapabilities() {
    ++traitsCalls;
    if (holdsTraits)
        setDelayedReply(true);
    if (!tellsTraits)
        sendErrorReply(traitsError);
    return capabilities;
}

QString FakeNotificationServer::GetServerInformation(QString &vendor, QString &version,
                                                     QString &specVersion) {
    if (!tellsTraits)
        sendErrorReply(traitsError);
    vendor = QStringLiteral("Tests");
    version = QStringLiteral("1");
    specVersion = QStringLiteral("1.2");
    return serverName;
}

void FakeNotificationServer::answer(std::size_t index, quint32 id) {
    _bus.send(deliveries.at(index).call.createReply(QVariant(id)));
}

void FakeNotificationServer::fail(std::size_t index, QDBusError::ErrorType error) {
    _bus.send(deliveries.at(index).call.createErrorReply(error, QStringLiteral("failed")));
}

void FakeNotificationServer::emitSignal(const QString &name, const QVariantList &arguments) {
    QDBusMessage signal = QDBusMessage::createSignal(path, service, name);
    signal.setArguments(arguments);
    _bus.send(signal);
}

}  // namespace pelorinnews::test
