#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace pelorinnews::test {

/// The test's own message bus. Without `serviceFolder` it starts no service, so that only the
/// notification server under test replies. The destructor ends the bus.
class PrivateBus {
public:
    /// `serviceFolder`: where the bus finds services to start; empty for none.
    explicit PrivateBus(const QString &serviceFolder = QString());
    ~PrivateBus();
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    [[nodiscard]] QString address() const { return _busAddress; }
    [[nodiscard]] qint64 processId() const { return _daemon.processId(); }

    /// The test's own connection.
    [[nodiscard]] QDBusConnection connection() const { return _ownConnection; }

    [[nodiscard]] bool hasNotificationServer() const;

    /// The environment for a program that uses this bus.
    [[nodiscard]] QProcessEnvironment environment() const;

    /// Ends the bus now, as otherwise the destructor does.
    void stop();

private:
    QTemporaryDir _folder;
    QProcess _daemon;
    QString _busAddress;
    QString _connectionName;
    QDBusConnection _ownConnection;
};

/// A program that uses a `PrivateBus`. The destructor ends the program.
class BusProgram {
public:
    BusProgram(const PrivateBus &bus, const QString &program, const QStringList &arguments);
    ~BusProgram();
    BusProgram(const BusProgram &) = delete;
    BusProgram &operator=(const BusProgram &) = delete;

    /// Sends the signal `number` to the program.
    void signal(int number) const;
    /// Kills the program at once, like a crash.
    void kill();
    /// The next line of the program's standard output; absent after a timeout of twenty seconds.
    [[nodiscard]] QString readLine();
    void writeLine(const QString &line);

private:
    QProcess _process;
};

}  // namespace pelorinnews::test
