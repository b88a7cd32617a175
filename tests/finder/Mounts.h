#pragma once

#include "finder/MountTable.h"

#include <QFile>
#include <QProcess>
#include <QString>
#include <QTest>

#include <memory>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>
#include <vector>

namespace pelorinnews::test {

/// A test's mounts, in the mount namespace of its process. The destructor unmounts them.
class Mounts {
public:
    Mounts() = default;
    ~Mounts() { clear(); }
    Mounts(const Mounts &) = delete;
    Mounts &operator=(const Mounts &) = delete;

    /// Gives this process its own mount namespace. Call it first in `main`: it affects only the
    /// calling thread and the threads that are started later.
    static void enterNamespace() {
        _arePermitted = ::unshare(CLONE_NEWNS) == 0 &&
                        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }
    /// Whether `enterNamespace` was called and mounting is permitted.
    [[nodiscard]] static bool arePermitted() { return _arePermitted; }

    [[nodiscard]] bool bind(const QString &from, const QString &to) {
        return mount(from, to, nullptr, MS_BIND, {});
    }

    [[nodiscard]] bool memory(const QString &at) { return mount({}, at, "tmpfs", 0, {}); }

    /// Mounts an overlay of the folder `lower` at `at`. `changes` has the folders "upper" and
    /// "work" for the upper layer.
    [[nodiscard]] bool overlay(const QString &lower, const QString &changes, const QString &at) {
        return mount(
            QStringLiteral("overlay"), at, "overlay", 0,
            QStringLiteral("lowerdir=%1,upperdir=%2/upper,workdir=%2/work").arg(lower, changes));
    }

    [[nodiscard]] static bool hasFuse() { return ::access("/dev/fuse", R_OK | W_OK) == 0; }

    /// Mounts a FUSE file system at `at` that shows the content of `folder`. False on timeout.
    [[nodiscard]] bool fuse(const QString &folder, const QString &at) {
        _mirrors.push_back(std::make_unique<QProcess>());
        _mirrors.back()->setProcessChannelMode(QProcess::ForwardedChannels);
        _mirrors.back()->start(QStringLiteral("bindfs"), {QStringLiteral("-f"), folder, at});
        if (!QTest::qWaitFor([&at] { return isMounted(at); }, testPatience))
            return false;
        _points.push_back(QFile::encodeName(at));
        return true;
    }

    void clear() {
        while (!_points.empty()) {
            ::umount2(_points.back().constData(), MNT_DETACH);
            _points.pop_back();
        }
        for (const auto &mirror : _mirrors) {
            mirror->terminate();
            mirror->waitForFinished(testPatience);
        }
        _mirrors.clear();
    }

private:
    static bool isMounted(const QString &at) {
        const QByteArray point = QFile::encodeName(at);
        const MountTable table = MountTable::current();
        const MountTable::Mount *found = table.mountOf(point);
        return found && found->mountPoint == point;
    }

    bool mount(const QString &from, const QString &to, const char *type, unsigned long flags,
               const QString &options) {
        const QByteArray point = QFile::encodeName(to);
        if (::mount(QFile::encodeName(from).constData(), point.constData(), type, flags,
                    QFile::encodeName(options).constData()) != 0)
            return false;
        _points.push_back(point);
        return true;
    }

    static inline bool _arePermitted = false;
    std::vector<QByteArray> _points;
    std::vector<std::unique_ptr<QProcess>> _mirrors;
};

}  // namespace pelorinnews::test
