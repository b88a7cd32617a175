#pragma once

#include <QDir>
#include <QFile>
#include <QList>
#include <QObject>
#include <QTimer>

#include <sched.h>

namespace pelorinnews::test {

/// The threads of this process with this name.
inline QList<pid_t> threads(const QByteArray &name) {
    QList<pid_t> found;
    const QStringList all = QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs);
    for (const QString &thread : all) {
        QFile file(QStringLiteral("/proc/self/task/%1/comm").arg(thread));
        if (file.open(QIODevice::ReadOnly) && file.readAll().trimmed() == name)
            found << thread.toInt();
    }
    return found;
}

inline qsizetype threadCount(const QByteArray &name) {
    return threads(name).size();
}

/// Takes the walks of this process out of the idle scheduling class, in which they would make
/// hardly any progress beside the other tests. Only root may do so; for other users the walks take
/// longer.
class HurriedWalks : public QObject {
public:
    HurriedWalks() {
        _timer.callOnTimeout(this, [] {
            const sched_param ordinary{};
            for (const pid_t walk : threads("pelorin-walk"))
                ::sched_setscheduler(walk, SCHED_OTHER, &ordinary);
        });
        _timer.start(10);
    }

private:
    QTimer _timer;
};

}  // namespace pelorinnews::test
