#pragma once

#include <unistd.h>
#include <utility>

namespace pelorinnews {

/// Owns one open file descriptor and closes it. A negative number means that there is none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int owned) : _descriptor(owned) {}
    FileDescriptor(FileDescriptor &&other) noexcept
        : _descriptor(std::exchange(other._descriptor, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept {
        std::swap(_descriptor, other._descriptor);
        return *this;
    }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    ~FileDescriptor() {
        if (_descriptor >= 0)
            ::close(_descriptor);
    }

    [[nodiscard]] int get() const { return _descriptor; }
    [[nodiscard]] bool isValid() const { return _descriptor >= 0; }

private:
    int _descriptor = -1;
};

}  // namespace pelorinnews
