#pragma once

#include <QFile>
#include <QStringList>

#include <array>
#include <sys/inotify.h>
#include <unistd.h>

namespace pelorinnews::test {

/// Records which files of a folder were opened, by any process, since the object was created.
class FileWatch {
public:
    explicit FileWatch(const QString &folder) : _descriptor(inotify_init1(IN_NONBLOCK)) {
        if (_descriptor < 0 ||
            inotify_add_watch(_descriptor, QFile::encodeName(folder).constData(), IN_OPEN) < 0)
            qFatal("the folder cannot be watched");
    }
    ~FileWatch() { ::close(_descriptor); }
    FileWatch(const FileWatch &) = delete;
    FileWatch &operator=(const FileWatch &) = delete;

    /// The names opened since the last call; an empty name if the folder itself was opened.
    [[nodiscard]] QStringList opened() const {
        QStringList names;
        alignas(inotify_event) std::array<char, 4096> buffer{};
        for (;;) {
            const ssize_t size = ::read(_descriptor, buffer.data(), buffer.size());
            if (size <= 0)
                return names;
            for (ssize_t at = 0; at < size;) {
                const auto *event = reinterpret_cast<const inotify_event *>(buffer.data() + at);
                names.append(event->len != 0 ? QFile::decodeName(event->name) : QString());
                at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            }
        }
    }

private:
    int _descriptor;
};

}  // namespace pelorinnews::test
