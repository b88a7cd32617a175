#include "SpecialFile.h"

#include <QFile>

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

namespace pelorinnews::test {

namespace {

constexpr mode_t permissions = 0600;

QByteArray elsewhere(const QString &path) {
    return QFile::encodeName(path + QStringLiteral(".elsewhere"));
}

/// Creates a device like `/dev/zero`, because a defect in the tested code could destroy the
/// computer's own.
bool makeZeroDevice(const char *name) {
    constexpr unsigned memoryDevices = 1;
    constexpr unsigned zero = 5;
    return ::mknod(name, S_IFCHR | permissions, makedev(memoryDevices, zero)) == 0;
}

bool makeSocket(const QByteArray &name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (static_cast<std::size_t>(name.size()) >= sizeof address.sun_path)
        return false;
    std::strcpy(address.sun_path, name.constData());
    const int bound = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool made =
        ::bind(bound, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    ::close(bound);
    return made;
}

}  // namespace

struct SpecialFile::Watch {
    explicit Watch(const QByteArray &name) : watched(name), events(::inotify_init1(IN_NONBLOCK)) {
        ::lstat(name.constData(), &itself);
        hasTarget = ::stat(name.constData(), &target) == 0;
        // Folders are not watched, because programs that search the disk open them. A link to
        // itself has no target to watch.
        if (hasTarget && !S_ISDIR(target.st_mode))
            ::inotify_add_watch(events, name.constData(), IN_OPEN | IN_MODIFY | IN_ATTRIB);
    }
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;
    ~Watch() { ::close(events); }

    [[nodiscard]] bool isTheSame() const {
        struct stat now {};
        const auto same = [](const struct stat &a, const struct stat &b) {
            return a.st_ino == b.st_ino && a.st_dev == b.st_dev && a.st_mode == b.st_mode &&
                   a.st_rdev == b.st_rdev;
        };
        return ::lstat(watched.constData(), &now) == 0 && same(now, itself) &&
               (!hasTarget || (::stat(watched.constData(), &now) == 0 && same(now, target)));
    }

    QByteArray watched;
    int events;
    struct stat itself {};
    struct stat target {};
    bool hasTarget;
};

QStringList SpecialFile::kinds() {
    return {QStringLiteral("folder"),           QStringLiteral("pipe"),
            QStringLiteral("socket"),           QStringLiteral("device"),
            QStringLiteral("link to a folder"), QStringLiteral("link to a pipe"),
            QStringLiteral("link to a device"), QStringLiteral("link to itself")};
}

SpecialFile::SpecialFile(const QString &kind, const QString &place) : _path(place) {
    if (!make(kind))
        _refusal = QString::fromLocal8Bit(std::strerror(errno));
    else
        _watch = std::make_unique<Watch>(QFile::encodeName(_path));
}

SpecialFile::~SpecialFile() {
    for (const QByteArray &name : {QFile::encodeName(_path), elsewhere(_path)}) {
        if (::unlink(name.constData()) != 0)
            ::rmdir(name.constData());
    }
}

bool SpecialFile::make(const QString &kind) {
    const QByteArray own = QFile::encodeName(_path);
    if (kind == u"link to itself")
        return ::symlink(own.constData(), own.constData()) == 0;
    const bool isLink = kind.startsWith(u"link");
    const QByteArray name = isLink ? elsewhere(_path) : own;
    if (isLink && ::symlink(name.constData(), own.constData()) != 0)
        return false;
    if (kind.endsWith(u"folder"))
        return ::mkdir(name.constData(), S_IRWXU) == 0;
    if (kind.endsWith(u"pipe"))
        return ::mkfifo(name.constData(), permissions) == 0;
    if (kind.endsWith(u"socket"))
        return makeSocket(name);
    return makeZeroDevice(name.constData());
}

QString SpecialFile::harm() const {
    if (!_watch->isTheSame())
        return QStringLiteral("replaced");
    std::array<char, 4096> buffer{};
    const auto length = ::read(_watch->events, buffer.data(), buffer.size());
    uint32_t happened = 0;
    for (qsizetype at = 0; at < length;) {
        inotify_event event{};
        std::memcpy(&event, buffer.data() + at, sizeof event);
        happened |= event.mask;
        at += static_cast<qsizetype>(sizeof event + event.len);
    }
    if (happened & (IN_MODIFY | IN_ATTRIB))
        return QStringLiteral("changed");
    return happened & IN_OPEN ? QStringLiteral("opened") : QString();
}

}  // namespace pelorinnews::test
