#include "ScreenReader.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace pelorinnews::test {

ScreenReader::ScreenReader() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), _folder.path());
    for (const char *name : {"CONFIG", "DATA", "STATE", "CACHE"})
        environment.insert(QStringLiteral("XDG_%1_HOME").arg(QLatin1String(name)), _folder.path());
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    environment.insert(QStringLiteral("GSETTINGS_BACKEND"), QStringLiteral("memory"));
    _process.setProcessEnvironment(environment);
    _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    _process.start(QStringLiteral(PELORIN_TEST_DATA "/orca"), {_folder.path()});
    if (!_process.waitForStarted(testPatience))
        qFatal("the screen reader does not start: %s", qPrintable(_process.errorString()));
}

ScreenReader::~ScreenReader() {
    _process.terminate();
    if (!_process.waitForFinished(testPatience)) {
        _process.kill();
        _process.waitForFinished(testPatience);
    }
}

QStringList ScreenReader::spoken() const {
    QFile log(_folder.filePath(QStringLiteral("log")));
    if (!log.open(QFile::ReadOnly))
        return {};
    static const QRegularExpression entry(QStringLiteral("SPEECH OUTPUT: '(.*?)'[^']*(\\{.*)?\\n"));
    QStringList all;
    auto each = entry.globalMatch(QString::fromUtf8(log.readAll()));
    while (each.hasNext())
        all.append(each.next().captured(1));
    return all;
}

bool ScreenReader::says(const QString &text, qsizetype heard) const {
    return QTest::qWaitFor([&] { return spoken().mid(heard).contains(text); }, testPatience);
}

}  // namespace pelorinnews::test
