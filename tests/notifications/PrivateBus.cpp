#include "PrivateBus.h"

#include <QDBusConnectionInterface>
#include <QFile>
#include <QUuid>

#include <csignal>

namespace pelorinnews::test {

namespace {

QByteArray configuration(const QString &serviceFolder) {
    QByteArray text =
        "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN\" "
        "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
        "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
        "<auth>EXTERNAL</auth>";
    if (!serviceFolder.isEmpty())
        text += "<servicedir>" + serviceFolder.toUtf8() + "</servicedir>";
    return text +
           "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
           "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n";
}

void end(QProcess &process) {
    if (process.state() == QProcess::NotRunning)
        return;
    // Resume the process if it is stopped: otherwise it would not handle SIGTERM.
    ::kill(static_cast<pid_t>(process.processId()), SIGCONT);
    process.terminate();
    if (!process.waitForFinished(testPatience)) {
        process.kill();
        process.waitForFinished(testPatience);
    }
}

}  // namespace

PrivateBus::PrivateBus(const QString &serviceFolder)
    : _connectionName(QStringLiteral("test-") + QUuid::createUuid().toString()),
      _ownConnection(QString()) {
    QFile file(_folder.filePath(QStringLiteral("bus.conf")));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write the bus configuration");
    file.write(configuration(serviceFolder));
    file.close();
    // The bus prints warnings if it may not raise its resource limits.
    _daemon.setStandardErrorFile(QProcess::nullDevice());
    _daemon.start(QStringLiteral("dbus-daemon"),
                  {QStringLiteral("--config-file=") + file.fileName(), QStringLiteral("--nofork"),
                   QStringLiteral("--print-address=1")});
    while (!_daemon.canReadLine()) {
        if (!_daemon.waitForReadyRead(testPatience))
            qFatal("the message bus does not start: %s", qPrintable(_daemon.errorString()));
    }
    _busAddress = QString::fromUtf8(_daemon.readLine().trimmed());
    _ownConnection = QDBusConnection::connectToBus(_busAddress, _connectionName);
    if (!_ownConnection.isConnected())
        qFatal("cannot connect to the message bus");
}

PrivateBus::~PrivateBus() {
    stop();
}

void PrivateBus::stop() {
    _ownConnection = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(_connectionName);
    end(_daemon);
}

bool PrivateBus::hasNotificationServer() const {
    return _ownConnection.interface()->isServiceRegistered(
        QStringLiteral("org.freedesktop.Notifications"));
}

QProcessEnvironment PrivateBus::environment() const {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), _busAddress);
    return environment;
}

BusProgram::BusProgram(const PrivateBus &bus, const QString &program,
                       const QStringList &arguments) {
    _process.setProcessEnvironment(bus.environment());
    _process.setStandardErrorFile(QProcess::nullDevice());
    _process.start(program, arguments);
    if (!_process.waitForStarted(testPatience))
        qFatal("cannot start %s", qPrintable(program));
}

BusProgram::~BusProgram() {
    end(_process);
}

void BusProgram::signal(int number) const {
    ::kill(static_cast<pid_t>(_process.processId()), number);
}

void BusProgram::kill() {
    _process.kill();
    _process.waitForFinished(testPatience);
}

QString BusProgram::readLine() {
    while (!_process.canReadLine()) {
        if (!_process.waitForReadyRead(testPatience))
            return {};
    }
    return QString::fromUtf8(_process.readLine()).trimmed();
}

void BusProgram::writeLine(const QString &line) {
    _process.write(line.toUtf8() + '\n');
    _process.waitForBytesWritten(testPatience);
}

}  // namespace pelorinnews::test
