#include "PeakMemory.h"

#include <QByteArray>
#include <QFile>

#include <malloc.h>

namespace pelorinnews::bench {

namespace {

qint64 statusField(const QByteArray &name) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QFile::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(name))
            return line.sliced(name.size()).simplified().split(' ').first().toLongLong() * 1024;
    }
    return 0;
}

}  // namespace

PeakMemory::PeakMemory() {
    malloc_trim(0);
    // Resets the peak (VmHWM) to the current resident size.
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QFile::WriteOnly))
        file.write("5");
    file.close();
    _before = statusField("VmRSS:");
}

qint64 PeakMemory::bytes() const {
    return statusField("VmHWM:") - _before;
}

}  // namespace pelorinnews::bench
