#pragma once

#include <mutex>
#include <utility>

namespace pelorinnews {

/// One value that several threads read and replace as a whole.
///
/// `get` copies the value out, `set` swaps a new one in. The old value is destroyed after the lock
/// is released, so no foreign code ever runs under the lock. Meant for values that are cheap to
/// copy: shared pointers, implicitly shared Qt types, numbers.
template <class T>
class GuardedSlot {
public:
    GuardedSlot() = default;
    explicit GuardedSlot(T initial) : _value(std::move(initial)) {}
    GuardedSlot(const GuardedSlot &) = delete;
    GuardedSlot &operator=(const GuardedSlot &) = delete;
    ~GuardedSlot() = default;

    [[nodiscard]] T get() const {
        const std::lock_guard lock(_mutex);
        return _value;
    }

    void set(T newValue) { static_cast<void>(exchange(std::move(newValue))); }

    /// Stores `newValue` and returns the previous value.
    [[nodiscard]] T exchange(T newValue) {
        const std::lock_guard lock(_mutex);
        std::swap(_value, newValue);
        return newValue;
    }

private:
    mutable std::mutex _mutex;
    T _value{};
};

}  // namespace pelorinnews
