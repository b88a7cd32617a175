#pragma once

#include <QtGlobal>

namespace pelorinnews::bench {

/// The most memory, in bytes, that the process had resident since this object was made, above what
/// it had then. Memory that was freed but not given back is given back first.
class PeakMemory {
public:
    PeakMemory();
    [[nodiscard]] qint64 bytes() const;

private:
    qint64 _before;
};

}  // namespace pelorinnews::bench
