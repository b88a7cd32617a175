#pragma once

#include <unistd.h>
#include <utility>

namespace pelorinnews {

/// Owns one open kernel descriptor and closes it. Negative if there is none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int owned) : descriptor(owned) {}
    FileDescriptor(FileDescriptor &&other) noexcept
        : descriptor(std::exchange(other.descriptor, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept {
        std::swap(descriptor, other.descriptor);
        return *this;
    }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    ~FileDescriptor() {
        if (descriptor >= 0)
            ::close(descriptor);
    }

    [[nodiscard]] int get() const { return descriptor; }
    [[nodiscard]] bool isValid() const { return descriptor >= 0; }

private:
    int descriptor = -1;
};

}  // namespace pelorinnews
