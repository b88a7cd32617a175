#include "TemporaryNames.h"

#include "FilePaths.h"

#include <QRandomGenerator>

#include <chrono>
#include <ctime>
#include <dirent.h>
#include <memory>
#include <unistd.h>

namespace pelorinnews::TemporaryNames {

namespace {

constexpr std::chrono::hours maxUse{1};

QByteArray prefix(const QByteArray &path) {
    return path + ".tmp-";
}

/// Whether `rest`, the part of a file name after the prefix, has the form that `beside` gives, and
/// its time is more than an hour ago. A time more than an hour in the future comes from a wrong
/// clock, and also counts.
bool isAbandoned(const QByteArray &rest, std::chrono::seconds now) {
    const qsizetype dash = rest.indexOf('-');
    bool isTime = false;
    bool isNumber = false;
    const std::chrono::seconds made(rest.left(dash).toLongLong(&isTime));
    rest.mid(dash + 1).toULongLong(&isNumber, 16);
    return dash > 0 && isTime && isNumber && (made < now - maxUse || made > now + maxUse);
}

}  // namespace

QByteArray beside(const QByteArray &path) {
    return prefix(path) + QByteArray::number(qint64{std::time(nullptr)}) + '-' +
           QByteArray::number(QRandomGenerator::system()->generate64(), 16);
}

void removeAbandoned(const QByteArray &path) {
    const QByteArray folder = FilePaths::parentOf(path);
    const QByteArray begin = prefix(path.mid(path.lastIndexOf('/') + 1));
    const std::unique_ptr<DIR, int (*)(DIR *)> entries(::opendir(folder.constData()), &::closedir);
    if (!entries)
        return;
    const std::chrono::seconds now(std::time(nullptr));
    while (const dirent *entry = ::readdir(entries.get())) {
        const QByteArray name(entry->d_name);
        if (name.startsWith(begin) && isAbandoned(name.mid(begin.size()), now))
            ::unlink(FilePaths::joined(folder, name).constData());
    }
}

}  // namespace pelorinnews::TemporaryNames
