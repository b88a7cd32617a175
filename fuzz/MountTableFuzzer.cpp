// The promise tested: whatever the mount table says, each mount is at the place that a simple model
// reads, is local or remote only if nothing hides it, and no files are searched twice.

#include "Input.h"
#include "finder/MountTable.h"

#include <QList>

using namespace pelorinnews;

namespace {

void require(bool holds, const char *what) {
    if (!holds)
        qFatal("%s", what);
}

bool isOctal(char digit) {
    return digit >= '0' && digit <= '7';
}

/// `field` without the kernel's escapes: a backslash and three octal digits for one byte.
QByteArray unescaped(const QByteArray &field) {
    QByteArray text;
    for (qsizetype i = 0; i < field.size();) {
        const QByteArray escape = field.mid(i, 4);
        const int code = escape.size() == 4 && escape[0] == '\\' && isOctal(escape[1]) &&
                                 isOctal(escape[2]) && isOctal(escape[3])
                             ? escape.mid(1).toInt(nullptr, 8)
                             : 256;
        text += code < 256 ? static_cast<char>(code) : field[i];
        i += code < 256 ? 4 : 1;
    }
    return text;
}

QList<QByteArray> expectedPoints(const QByteArray &text) {
    QList<QByteArray> points;
    for (const QByteArray &line : text.split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        const qsizetype separator = fields.indexOf("-", 6);
        if (separator > 0 && separator + 1 < fields.size())
            points.append(unescaped(fields[4]));
    }
    return points;
}

/// Whether the folder `outer` is `inner` or above it.
bool isAtOrBelow(const QByteArray &inner, const QByteArray &outer) {
    return inner == outer || inner.startsWith(outer.endsWith('/') ? outer : outer + '/');
}

const MountTable::Mount *mountOf(const MountTable &table, const QByteArray &path) {
    const MountTable::Mount *found = nullptr;
    for (const MountTable::Mount &mount : table.mounts()) {
        if (isAtOrBelow(path, mount.mountPoint) &&
            (!found || mount.mountPoint.size() >= found->mountPoint.size()))
            found = &mount;
    }
    return found;
}

bool isEqual(const MountTable::Mount &one, const MountTable::Mount &other) {
    return one.mountPoint == other.mountPoint && one.root == other.root &&
           one.device == other.device && one.type == other.type && one.layers == other.layers &&
           one.id == other.id && one.local == other.local && one.remote == other.remote;
}

void checkMount(const MountTable &table, const MountTable::Mount &mount) {
    require(table.holds(mount), "the table does not hold its own mount");
    require(!(mount.local && mount.remote), "a mount is local and remote");
    for (const QByteArray &layer : mount.layers)
        require(layer.startsWith('/'), "a layer is no absolute path");
    if (!mount.local)
        return;
    require(mountOf(table, mount.mountPoint) == &mount, "a hidden mount is local");
    for (const MountTable::Mount &other : table.mounts())
        require(&other == &mount || !other.local || other.device != mount.device ||
                    !isAtOrBelow(other.root, mount.root),
                "two local mounts show the same files");
}

}  // namespace

/// The first line is a path, the rest a mount table.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(QByteArrayView(data, static_cast<qsizetype>(size)));
    const QByteArray path = input.bytesUntil('\n').toByteArray();
    const QByteArray text = input.rest().toByteArray();
    const MountTable table = MountTable::parse(text);

    QList<QByteArray> points;
    for (const MountTable::Mount &mount : table.mounts()) {
        points.append(mount.mountPoint);
        checkMount(table, mount);
    }
    require(points == expectedPoints(text), "the table has other mount points");
    require(table.mountOf(path) == mountOf(table, path), "another mount holds the path");

    const MountTable again = MountTable::parse(text);
    require(std::equal(table.mounts().begin(), table.mounts().end(), again.mounts().begin(),
                       again.mounts().end(), isEqual),
            "the same text gives another table");
    return 0;
}
