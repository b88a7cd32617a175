#include "Program.h"

#include <QProcess>

namespace pelorinnews::test {

QByteArray outputOf(const QString &program, const QStringList &arguments, int *exitCode) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // The output of programs depends on the language.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    process.closeWriteChannel();
    if (!process.waitForFinished(testPatience)) {
        process.kill();
        process.waitForFinished(testPatience);
    }
    if (exitCode)
        *exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return process.readAllStandardOutput().trimmed();
}

}  // namespace pelorinnews::test
