#include "Surface.h"

#include <QBackingStore>
#include <QEvent>
#include <QImage>
#include <QPaintDevice>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace pelorinnews {

using pageprotocol::bytesPerPixel;

bool Surface::Buffers::isComplete() const {
    return std::all_of(memory.begin(), memory.end(), [](const auto &each) { return bool(each); });
}

Surface::Surface(QWidget &window, qint32 number) : _window(window), _number(number) {
    window.installEventFilter(this);
}

bool Surface::addBuffer(const pageprotocol::SurfaceBuffer &buffer, const FileDescriptor &memory) {
    if (buffer.generation <= _present.generation || buffer.generation < _next.generation)
        return false;
    if (buffer.generation > _next.generation) {
        _next = {};
        _next.generation = buffer.generation;
        _next.width = buffer.width;
        _next.height = buffer.height;
    }
    if (buffer.width != _next.width || buffer.height != _next.height)
        return false;
    auto mapped = SharedMemory::map(memory, bytesPerPixel * buffer.width * buffer.height,
                                    SharedMemory::Access::Write);
    if (!mapped)
        return false;
    _next.memory.at(static_cast<size_t>(buffer.buffer)) = std::move(mapped);
    if (_next.isComplete()) {
        _present = std::exchange(_next, {});
        _isFree.fill(true);
        resizeWindow();
    }
    return true;
}

void Surface::resizeWindow() {
    const double scale = _window.devicePixelRatioF();
    const QSize size(static_cast<int>(std::ceil(_present.width / scale)),
                     static_cast<int>(std::ceil(_present.height / scale)));
    if (size == _window.size()) {
        // Without a change of size, the window does not paint: copy its content into the new
        // buffers.
        sendAgain();
    } else {
        _window.resize(size);
    }
}

void Surface::sendAgain() {
    _hasChanged = true;
    QMetaObject::invokeMethod(this, &Surface::copyFrame, Qt::QueuedConnection);
}

bool Surface::frameTaken(const pageprotocol::FrameTaken &frame) {
    // A pop-up that opens again with the number of an earlier one may get that one's messages.
    if (frame.generation != _present.generation)
        return frame.generation < _present.generation || _number > 0;
    if (std::exchange(_isFree.at(static_cast<size_t>(frame.buffer)), true))
        return false;
    copyFrame();
    return true;
}

bool Surface::eventFilter(QObject *watched, QEvent *event) {
    // The window paints itself in response to these events. `sendAgain` copies the result
    // afterwards.
    if (event->type() == QEvent::UpdateRequest || event->type() == QEvent::Expose)
        sendAgain();
    return QObject::eventFilter(watched, event);
}

void Surface::copyFrame() {
    const auto free = std::find(_isFree.begin(), _isFree.end(), true);
    if (!_hasChanged || free == _isFree.end())
        return;
    const auto index = static_cast<size_t>(free - _isFree.begin());
    if (!fill(_present.memory.at(index)->data()))
        return;
    _hasChanged = false;
    *free = false;
    Q_EMIT framePainted(_present.generation, static_cast<qint32>(index));
}

bool Surface::isBlank() const {
    const QImage *const image = content();
    if (!image || image->isNull())
        return true;
    const uchar *const first = image->constScanLine(0);
    const auto width = static_cast<size_t>(bytesPerPixel * image->width());
    // Each pixel of the first row equals the one before it, and each row the first.
    if (std::memcmp(first, first + bytesPerPixel, width - bytesPerPixel) != 0)
        return false;
    for (int y = 1; y < image->height(); ++y) {
        if (std::memcmp(first, image->constScanLine(y), width) != 0)
            return false;
    }
    return true;
}

// What the window has painted; null if it has painted nothing, or in another format.
const QImage *Surface::content() const {
    const QBackingStore *store = _window.backingStore();
    auto *device = store ? const_cast<QBackingStore *>(store)->paintDevice() : nullptr;
    if (!device || device->devType() != QInternal::Image)
        return nullptr;
    const auto *image = static_cast<const QImage *>(device);
    return image->depth() == bytesPerPixel * 8 ? image : nullptr;
}

// Copies the window's content; what it does not cover becomes white. The sizes may differ: rounding
// may make the window a pixel larger than the buffer, and for one frame it may have its previous
// size.
bool Surface::fill(uchar *pixels) const {
    const QImage *const image = content();
    if (!image)
        return false;
    const qint64 rowBytes = bytesPerPixel * _present.width;
    const qint64 shared = std::min<qint64>(rowBytes, bytesPerPixel * image->width());
    for (int y = 0; y < _present.height; ++y) {
        uchar *row = pixels + y * rowBytes;
        const qint64 copied = y < image->height() ? shared : 0;
        if (copied > 0)
            std::memcpy(row, image->constScanLine(y), static_cast<size_t>(copied));
        std::memset(row + copied, 0xff, static_cast<size_t>(rowBytes - copied));
    }
    return true;
}

}  // namespace pelorinnews
