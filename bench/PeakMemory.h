#pragma once

#include <QtGlobal>

namespace pelorinnews::bench {

/// Measures the process's peak resident memory since this object was created, in bytes, minus the
/// resident memory at its creation. The constructor first returns freed memory to the system.
class PeakMemory {
public:
    PeakMemory();
    [[nodiscard]] qint64 bytes() const;

private:
    qint64 _before;
};

}  // namespace pelorinnews::bench
