#pragma once

#include <QString>

#include <optional>

namespace pelorinnews::test {

/// Gives this process mounts of its own, for which an ordinary user needs a user namespace. Call it
/// first in `main`, while there is one thread. Where it is refused, `SmallDisk` tells why.
void enterOwnMounts();

/// A tmpfs of 64 KB, mounted over a folder of this process as long as the object lives.
class SmallDisk {
public:
    static constexpr qint64 size = 65536;
    /// What room is given out in.
    static constexpr qint64 block = 4096;

    /// Why there can be none here; empty where there can.
    [[nodiscard]] static QString whyNot();

    explicit SmallDisk(const QString &folder);
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;
    ~SmallDisk();

    [[nodiscard]] bool isMounted() const { return mounted; }

    /// How many bytes still have room.
    [[nodiscard]] qint64 room() const;

    /// Fills it up so that `left` bytes, in whole blocks, still have room.
    void leaveRoom(qint64 left) const;

    /// Takes back what `leaveRoom` did.
    void freeRoom() const;

private:
    [[nodiscard]] QString ballast() const { return folderPath + QStringLiteral("/ballast"); }

    QString folderPath;
    bool mounted = false;
};

}  // namespace pelorinnews::test
