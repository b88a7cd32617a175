#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <vector>

namespace pelorinnews::test {

/// A notification server with scripted behaviour, for tests that no installed server can serve.
/// Replies on the thread that created it.
class FakeNotificationServer : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Delivery {
        QString applicationName;
        quint32 replaces = 0;
        QString icon;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
        qint32 timeout = 0;
        QDBusMessage call;
    };

    /// Takes the service's name on `connection`.
    explicit FakeNotificationServer(const QDBusConnection &connection);
    ~FakeNotificationServer() override;

    std::vector<Delivery> deliveries;
    QList<quint32> closeCalls;
    QStringList capabilities{QStringLiteral("actions")};
    QString serverName = QStringLiteral("Fake");
    bool holdsAnswers = false;
    bool refuses = false;
    /// If false, the calls for the server's capabilities and name fail with `traitsError`.
    bool tellsTraits = true;
    QDBusError::ErrorType traitsError = QDBusError::UnknownMethod;
    /// If true, the calls for the server's capabilities get no reply.
    bool holdsTraits = false;
    int traitsCalls = 0;
    quint32 nextId = 1;

    /// Replies to the held delivery at `index` with the server id `id`.
    void answer(std::size_t index, quint32 id);
    /// Replies to the held delivery at `index` with an error.
    void fail(std::size_t index, QDBusError::ErrorType error);
    /// Broadcasts a signal, as many servers do.
    void emitSignal(const QString &name, const QVariantList &arguments);

public Q_SLOTS:
    QStringList GetCapabilities();
    QString GetServerInformation(QString &vendor, QString &version, QString &specVersion);
    uint Notify(const QString &applicationName, uint replaces, const QString &icon,
                const QString &summary, const QString &body, const QStringList &actions,
                const QVariantMap &hints, int timeout);
    void CloseNotification(uint id) { closeCalls.append(id); }

private:
    QDBusConnection _bus;
};

}  // namespace pelorinnews::test
