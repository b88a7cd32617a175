#pragma once

#include "platform/FileDescriptor.h"

#include <QByteArrayView>
#include <QStringView>

#include <cstddef>
#include <optional>
#include <utility>

namespace pelorinnews {

/// Memory shared by host and page process: a mapping of a memory file (`memfd`). The host creates
/// all shared files, with a fixed size: if a file could shrink, reading its mapping could crash a
/// process.
class SharedMemory {
public:
    enum class Access { Read, Write };

    /// A new memory file of `bytes` zero bytes whose size nobody can change. Invalid if the system
    /// has no memory or descriptor left.
    [[nodiscard]] static FileDescriptor create(qint64 bytes);

    /// A new memory file that holds `content` and that nobody can change. Invalid as for `create`.
    [[nodiscard]] static FileDescriptor createSealed(QByteArrayView content);

    struct SealedText {
        FileDescriptor file;
        qint64 bytes = 0;
    };
    /// A new memory file that holds `text` as UTF-8, and that nobody can change, with its size.
    /// Unpaired surrogates become U+FFFD; one at the end is left out. The file is invalid as for
    /// `create`.
    [[nodiscard]] static SealedText createSealedText(QStringView text);

    /// Maps the first `bytes` bytes. Nothing if the file is smaller or can shrink, or if the system
    /// refuses. An empty mapping is valid.
    [[nodiscard]] static std::optional<SharedMemory> map(const FileDescriptor &file, qint64 bytes,
                                                         Access access);

    SharedMemory(SharedMemory &&other) noexcept
        : _start(std::exchange(other._start, nullptr)), _bytes(std::exchange(other._bytes, 0)) {}
    SharedMemory &operator=(SharedMemory &&other) noexcept {
        std::swap(_start, other._start);
        std::swap(_bytes, other._bytes);
        return *this;
    }
    SharedMemory(const SharedMemory &) = delete;
    SharedMemory &operator=(const SharedMemory &) = delete;
    ~SharedMemory();

    [[nodiscard]] uchar *data() const { return static_cast<uchar *>(_start); }
    [[nodiscard]] qint64 size() const { return static_cast<qint64>(_bytes); }

private:
    SharedMemory(void *start, size_t bytes) : _start(start), _bytes(bytes) {}

    void *_start = nullptr;
    size_t _bytes = 0;
};

}  // namespace pelorinnews
