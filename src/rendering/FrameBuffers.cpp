#include "FrameBuffers.h"

#include <utility>

namespace pelorinnews {

using namespace pageprotocol;

bool FrameBuffers::resize(PageChild &child, QSize size, qreal scale) {
    Set set;
    set.generation = ++_generation;
    set.size = size;
    set.scale = scale;
    const qint64 bytes = bytesPerPixel * size.width() * size.height();
    std::array<FileDescriptor, buffers> files;
    for (size_t i = 0; i < buffers; ++i) {
        files.at(i) = SharedMemory::create(bytes);
        set.memory.at(i) = SharedMemory::map(files.at(i), bytes, SharedMemory::Access::Read);
        if (!set.memory.at(i))
            return false;
    }
    for (size_t i = 0; i < buffers; ++i)
        child.send(SurfaceBuffer{_surface, set.generation, static_cast<qint32>(i), size.width(),
                                 size.height()},
                   std::move(files.at(i)));
    _next = std::move(set);
    return true;
}

bool FrameBuffers::take(PageChild &child, const FrameReady &frame) {
    if (frame.generation > _generation)
        return false;
    if (frame.generation != _next.generation)
        return true;
    if (_shown.generation != _next.generation) {
        // First frame of the new size: its buffers become the shown ones. `_next` keeps generation
        // and size.
        _shown = std::exchange(_next, {_next.generation, _next.size, _next.scale, {}});
        _front = -1;
    }
    if (frame.buffer == _front)
        return false;
    if (const qint32 before = std::exchange(_front, frame.buffer); before >= 0)
        child.send(FrameTaken{_surface, _shown.generation, before});
    return true;
}

bool FrameBuffers::giveBack(PageChild &child, const FrameReady &frame) {
    if (frame.generation > _generation)
        return false;
    if (frame.generation != _next.generation)
        return true;
    if (_shown.generation == _next.generation && frame.buffer == _front)
        return false;
    child.send(FrameTaken{_surface, frame.generation, frame.buffer});
    return true;
}

void FrameBuffers::forgetChild() {
    // Generation 0, which no frame has: so all frames are ignored.
    _next = {};
    if (_front < 0)
        _shown = {};
}

void FrameBuffers::clear(PageChild *child) {
    if (child && _front >= 0 && _shown.generation == _next.generation)
        child->send(FrameTaken{_surface, _shown.generation, _front});
    _front = -1;
}

void FrameBuffers::release() {
    _front = -1;
    forgetChild();
}

QImage FrameBuffers::frame() const {
    if (_front < 0)
        return {};
    // Not const, though nobody writes here: QImage would copy const pixels when the caller sets its
    // device pixel ratio.
    uchar *pixels = _shown.memory.at(static_cast<size_t>(_front))->data();
    QImage image(pixels, _shown.size.width(), _shown.size.height(),
                 bytesPerPixel * _shown.size.width(), QImage::Format_RGB32);
    image.setDevicePixelRatio(_shown.scale);
    return image;
}

}  // namespace pelorinnews
