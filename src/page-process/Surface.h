#pragma once

#include "pageprotocol/PageProtocol.h"
#include "pageprotocol/SharedMemory.h"

#include <QObject>

#include <array>
#include <optional>

class QImage;
class QWidget;

namespace pelorinnews {

/// A window of this process, the page or one of its pop-ups, whose frames go to the host. Each
/// painted frame is copied into a shared buffer that the host is not reading.
class Surface final : public QObject {
    Q_OBJECT

public:
    /// `window` must outlive this object.
    Surface(QWidget &window, qint32 number);

    [[nodiscard]] qint32 number() const { return _number; }
    [[nodiscard]] QWidget &window() const { return _window; }

    /// Adds a frame buffer. When both buffers of a new generation are there, resizes the window to
    /// their size. False if the message violates the protocol or the memory cannot be mapped.
    [[nodiscard]] bool addBuffer(const pageprotocol::SurfaceBuffer &buffer,
                                 const FileDescriptor &memory);

    /// The host has read the frame. Frames of an earlier generation are ignored. False if the host
    /// had not got this frame.
    [[nodiscard]] bool frameTaken(const pageprotocol::FrameTaken &frame);

    /// Whether the window has one colour everywhere, or was never painted.
    [[nodiscard]] bool isBlank() const;

    /// Sends the present content once more.
    void sendAgain();

Q_SIGNALS:
    /// The buffer holds the window's present content, and belongs to the host until `frameTaken`.
    void framePainted(qint32 generation, qint32 buffer);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Buffers {
        qint32 generation = 0;
        qint32 width = 0;
        qint32 height = 0;
        std::array<std::optional<SharedMemory>, pageprotocol::buffers> memory;
        [[nodiscard]] bool isComplete() const;
    };

    void resizeWindow();
    void copyFrame();
    [[nodiscard]] const QImage *content() const;
    [[nodiscard]] bool fill(uchar *pixels) const;

    QWidget &_window;
    const qint32 _number;
    Buffers _present;
    // The buffers of the next generation that the host has sent so far.
    Buffers _next;
    std::array<bool, pageprotocol::buffers> _isFree{};
    bool _hasChanged = false;
};

}  // namespace pelorinnews
