#pragma once

#include "PageChild.h"
#include "pageprotocol/SharedMemory.h"

#include <QImage>
#include <QSize>

#include <array>
#include <optional>

namespace pelorinnews {

/// The host's side of a surface of the page process: its frame buffers, and the frame that is
/// shown.
class FrameBuffers {
public:
    explicit FrameBuffers(qint32 surface) : _surface(surface) {}

    /// Gives `child` new buffers of `size` device pixels, to be shown at the device pixel ratio
    /// `scale`. The shown frame stays until the first frame of that size arrives. False if the
    /// system has no memory or descriptor left.
    [[nodiscard]] bool resize(PageChild &child, QSize size, qreal scale);

    /// Shows a frame that `child` has sent, and gives the previous one back to `child`. False if
    /// the message violates the protocol; frames of an earlier size are ignored.
    [[nodiscard]] bool take(PageChild &child, const pageprotocol::FrameReady &frame);

    /// Returns a received frame to `child` without showing it. False as for `take`.
    [[nodiscard]] bool giveBack(PageChild &child, const pageprotocol::FrameReady &frame);

    /// Whether this is the shown frame.
    [[nodiscard]] bool shows(const pageprotocol::FrameReady &frame) const {
        return frame.generation == _shown.generation && frame.buffer == _front;
    }

    /// The page process has ended. Its shown frame stays; without one, the memory is freed.
    void forgetChild();

    /// Forgets the shown frame. Gives it back to `child` unless `child` is null.
    void clear(PageChild *child);

    /// Frees the memory. Frames are ignored until the next `resize`.
    void release();

    /// The frame to paint, with its device pixel ratio; null if there is none. Valid until the next
    /// call of another member.
    [[nodiscard]] QImage frame() const;

private:
    struct Set {
        qint32 generation = 0;
        QSize size;
        qreal scale = 1;
        std::array<std::optional<SharedMemory>, pageprotocol::buffers> memory;
    };

    const qint32 _surface;
    qint32 _generation = 0;
    Set _next;
    Set _shown;
    /// Index of the buffer of `_shown` that is shown; negative if none is.
    qint32 _front = -1;
};

}  // namespace pelorinnews
