#pragma once

#include "TestMain.h"

#include <QString>

#include <optional>

namespace pelorinnews::test {

/// Gives this process its own mount namespace; an ordinary user also gets a user namespace, which
/// permits this. Call it first in `main`, while there is one thread. If the kernel refuses,
/// `SmallDisk::whyNot` returns the reason.
void enterOwnMounts();

/// A tmpfs of 64 KB, mounted over a folder of this process during the object's lifetime.
class SmallDisk {
public:
    static constexpr qint64 size = 65536;
    /// The unit in which disk space is allocated.
    static constexpr qint64 block = 4096;

    /// Why a small disk is not available here; empty if it is.
    [[nodiscard]] static QString whyNot();

    explicit SmallDisk(const QString &folder);
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;
    ~SmallDisk();

    [[nodiscard]] bool isMounted() const { return _mounted; }

    /// How many bytes are free.
    [[nodiscard]] qint64 room() const;

    /// Fills the disk so that `left` bytes, in whole blocks, stay free.
    void leaveRoom(qint64 left) const;

    /// Undoes `leaveRoom`.
    void freeRoom() const;

private:
    [[nodiscard]] QString ballast() const { return _folderPath + QStringLiteral("/ballast"); }

    QString _folderPath;
    bool _mounted = false;
};

}  // namespace pelorinnews::test

/// The main function of a test that mounts small disks and has no window.
#define PELORIN_SMALL_DISK_TEST_MAIN(TestClass)         \
    int main(int argc, char *argv[]) {                  \
        pelorinnews::test::enterOwnMounts();            \
        const pelorinnews::test::TestHome home;         \
        const QCoreApplication application(argc, argv); \
        TestClass test;                                 \
        return QTest::qExec(&test, argc, argv);         \
    }
