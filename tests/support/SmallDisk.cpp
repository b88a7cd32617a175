#include "SmallDisk.h"

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace pelorinnews::test {

namespace {

QString refusal = QStringLiteral("enterOwnMounts() was not called");

bool put(const char *path, const QByteArray &text) {
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
           file.write(text) == text.size();
}

bool enterUserNamespace() {
    const QByteArray user = QByteArray::number(::getuid());
    const QByteArray group = QByteArray::number(::getgid());
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && put("/proc/self/setgroups", "deny") &&
           put("/proc/self/uid_map", user + ' ' + user + " 1") &&
           put("/proc/self/gid_map", group + ' ' + group + " 1");
}

}  // namespace

void enterOwnMounts() {
    refusal.clear();
    if (::unshare(CLONE_NEWNS) != 0 && !enterUserNamespace())
        refusal = QStringLiteral("no mount namespace: ");
    else if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        refusal = QStringLiteral("the mounts cannot be made private: ");
    if (!refusal.isEmpty())
        refusal += QString::fromLocal8Bit(std::strerror(errno));
}

QString SmallDisk::whyNot() {
    return refusal;
}

SmallDisk::SmallDisk(const QString &folder) : _folderPath(folder) {
    QDir().mkpath(folder);
    const QByteArray options = "mode=700,size=" + QByteArray::number(size);
    _mounted = ::mount("none", QFile::encodeName(folder).constData(), "tmpfs", 0,
                       options.constData()) == 0;
    if (!_mounted)
        qWarning("cannot mount a tmpfs at %s: %s", qPrintable(folder), std::strerror(errno));
}

SmallDisk::~SmallDisk() {
    if (_mounted)
        ::umount2(QFile::encodeName(_folderPath).constData(), MNT_DETACH);
}

qint64 SmallDisk::room() const {
    struct statvfs status {};
    if (::statvfs(QFile::encodeName(_folderPath).constData(), &status) != 0)
        return -1;
    return static_cast<qint64>(status.f_bavail * status.f_frsize);
}

void SmallDisk::leaveRoom(qint64 left) const {
    freeRoom();
    QFile file(ballast());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        qFatal("cannot create the file that fills the disk");
    const QByteArray filling(block, 'x');
    while (room() > left) {
        if (file.write(filling) != filling.size())
            qFatal("the disk is full too early");
    }
}

void SmallDisk::freeRoom() const {
    QFile::remove(ballast());
}

}  // namespace pelorinnews::test
