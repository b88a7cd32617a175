#include "FileWatch.h"

#include <QFile>
#include <QThread>

#include <sys/stat.h>

namespace pelorinnews {

namespace {

/// A file that stays the same this long has been written.
constexpr unsigned long pollMilliseconds = 200;

}  // namespace

FileWatch::FileWatch(const QString &path) : _path(QFile::encodeName(path)), _seen(present()) {}

FileWatch::State FileWatch::present() const {
    struct stat file {};
    if (::stat(_path.constData(), &file) != 0)
        return {};
    return {file.st_dev, file.st_ino, file.st_size, file.st_mtim.tv_sec, file.st_mtim.tv_nsec};
}

bool FileWatch::hasChanged() const {
    const State now = present();
    return now != State() && now != _seen;
}

void FileWatch::waitForChange() {
    State before = present();
    while (true) {
        QThread::msleep(pollMilliseconds);
        const State now = present();
        if (now == before && now != State() && now != _seen) {
            _seen = now;
            return;
        }
        before = now;
    }
}

}  // namespace pelorinnews
