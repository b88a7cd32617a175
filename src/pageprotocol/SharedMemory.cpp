#include "SharedMemory.h"

#include "platform/FileSizeSignal.h"

#include <QByteArray>
#include <QStringEncoder>

#include <algorithm>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pelorinnews {

namespace {

constexpr int sizeSeals = F_SEAL_SHRINK | F_SEAL_GROW;
// In UTF-16 units. Small enough to stay in the processor's cache between conversion and copy.
constexpr qsizetype textPiece = 16'384;

FileDescriptor newMemory() {
    return FileDescriptor(::memfd_create("pelorin-news-page", MFD_CLOEXEC | MFD_ALLOW_SEALING));
}

bool writeAll(int file, QByteArrayView content) {
    while (!content.isEmpty()) {
        const ssize_t written = ::write(file, content.data(), static_cast<size_t>(content.size()));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        content = content.sliced(written);
    }
    return true;
}

bool seal(const FileDescriptor &file) {
    return ::fcntl(file.get(), F_ADD_SEALS, sizeSeals | F_SEAL_WRITE | F_SEAL_SEAL) == 0;
}

}  // namespace

FileDescriptor SharedMemory::create(qint64 bytes) {
    const FileSizeSignal signal;
    FileDescriptor file = newMemory();
    if (!file.isValid() || ::ftruncate(file.get(), bytes) != 0 ||
        ::fcntl(file.get(), F_ADD_SEALS, sizeSeals | F_SEAL_SEAL) != 0)
        return {};
    return file;
}

FileDescriptor SharedMemory::createSealed(QByteArrayView content) {
    const FileSizeSignal signal;
    FileDescriptor file = newMemory();
    if (!file.isValid() || !writeAll(file.get(), content) || !seal(file))
        return {};
    return file;
}

SharedMemory::SealedText SharedMemory::createSealedText(QStringView text) {
    const FileSizeSignal signal;
    SealedText result{newMemory()};
    if (!result.file.isValid())
        return {};
    QStringEncoder encoder(QStringEncoder::Utf8);
    QByteArray buffer(encoder.requiredSpace(textPiece), Qt::Uninitialized);
    while (!text.isEmpty()) {
        const QStringView piece = text.first(std::min(text.size(), textPiece));
        text = text.sliced(piece.size());
        const char *end = encoder.appendToBuffer(buffer.data(), piece);
        const QByteArrayView bytes(buffer.constData(), end);
        if (!writeAll(result.file.get(), bytes))
            return {};
        result.bytes += bytes.size();
    }
    if (!seal(result.file))
        return {};
    return result;
}

std::optional<SharedMemory> SharedMemory::map(const FileDescriptor &file, qint64 bytes,
                                              Access access) {
    struct stat state {};
    const int seals = ::fcntl(file.get(), F_GET_SEALS);
    if (bytes < 0 || seals < 0 || (seals & F_SEAL_SHRINK) == 0 ||
        ::fstat(file.get(), &state) != 0 || state.st_size < bytes)
        return std::nullopt;
    if (bytes == 0)
        return SharedMemory(nullptr, 0);
    const int protection = access == Access::Write ? PROT_READ | PROT_WRITE : PROT_READ;
    void *start =
        ::mmap(nullptr, static_cast<size_t>(bytes), protection, MAP_SHARED, file.get(), 0);
    if (start == MAP_FAILED)
        return std::nullopt;
    return SharedMemory(start, static_cast<size_t>(bytes));
}

SharedMemory::~SharedMemory() {
    if (_start)
        ::munmap(_start, _bytes);
}

}  // namespace pelorinnews
