#pragma once

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

/// A temporary folder for the files of a fuzzer: in memory, if the system has such a folder.
class MemoryFolder {
public:
    MemoryFolder() : _folder(base() + QStringLiteral("/pelorin-fuzz-XXXXXX")) {
        if (!_folder.isValid())
            qFatal("cannot make a temporary folder");
    }

    [[nodiscard]] QString path() const { return _folder.path(); }

private:
    static QString base() {
        const QString memory = QStringLiteral("/dev/shm");
        return QFileInfo(memory).isWritable() ? memory : QDir::tempPath();
    }

    QTemporaryDir _folder;
};
