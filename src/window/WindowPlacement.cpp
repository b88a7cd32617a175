#include "WindowPlacement.h"

#include "WindowEdges.h"

#include <QGuiApplication>
#include <QRegion>
#include <QScreen>
#include <QWidget>

#include <algorithm>

namespace pelorinnews::WindowPlacement {

namespace {

// Converts `rect` from device-independent pixels to physical pixels. Qt scales coordinates from the
// corner of their screen, so only in physical pixels do screens of different scales adjoin.
QRect inPixels(const QRect &rect, const QScreen &screen) {
    const QPoint corner = screen.geometry().topLeft();
    const double scale = screen.devicePixelRatio();
    const QRectF moved = QRectF(rect).translated(-corner);
    return QRectF(moved.topLeft() * scale, moved.size() * scale).translated(corner).toRect();
}

// Elsewhere only the desktop places windows.
bool canPlaceWindows() {
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

qint64 surface(const QRect &rect) {
    return rect.isEmpty() ? 0 : qint64{rect.width()} * rect.height();
}

}  // namespace

bool isCovered(const QRect &frame, const QList<QRect> &areas) {
    QRegion left(frame);
    for (const QRect &area : areas)
        left -= area;
    return left.isEmpty();
}

QRect broughtInto(const QRect &frame, const QRect &area, const QSize &minSize) {
    QRect place(frame.topLeft(), frame.size().boundedTo(area.size().expandedTo(minSize)));
    place.moveRight(std::min(place.right(), area.right()));
    place.moveBottom(std::min(place.bottom(), area.bottom()));
    place.moveLeft(std::max(place.left(), area.left()));
    place.moveTop(std::max(place.top(), area.top()));
    return place;
}

void centre(QWidget &window) {
    const QScreen *screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    const QRect available = screen->availableGeometry();
    QRect place(
        QPoint(),
        window.size().boundedTo(available.size() * 9 / 10).expandedTo(window.minimumSize()));
    place.moveCenter(available.center());
    window.setGeometry(place);
}

void restore(QWidget &window, const QSize &size, const std::optional<QPoint> &place, int spare) {
    QSize largest;
    const auto screens = QGuiApplication::screens();
    for (const QScreen *screen : screens)
        largest = largest.expandedTo(screen->availableSize());
    window.resize(size.boundedTo(largest + QSize(0, spare)).expandedTo(window.minimumSize()));
    if (place && canPlaceWindows())
        window.move(*place);
}

std::optional<QPoint> place(const QWidget &window) {
    return canPlaceWindows() ? std::optional(window.pos()) : std::nullopt;
}

void bringOntoScreen(QWidget &window, int spare) {
    if (!canPlaceWindows() || window.isMinimized() || WindowEdges::isMaximizedOrFullScreen(window))
        return;
    const QRect frame = window.frameGeometry().adjusted(0, 0, 0, -spare);
    const QRect shown = inPixels(frame, *window.screen());
    QList<QRect> areas;
    const QScreen *best = QGuiApplication::primaryScreen();
    qint64 most = 0;
    const auto screens = QGuiApplication::screens();
    for (const QScreen *screen : screens) {
        areas.append(inPixels(screen->availableGeometry(), *screen));
        const qint64 part = surface(areas.last() & shown);
        if (part <= most)
            continue;
        most = part;
        best = screen;
    }
    if (!best || isCovered(shown, areas))
        return;
    const QRect inner = window.geometry().adjusted(0, 0, 0, -spare);
    const QSize margins = frame.size() - inner.size();
    QRect place = broughtInto(frame, best->availableGeometry(),
                              window.minimumSize() - QSize(0, spare) + margins);
    place = QRect(place.topLeft() + (inner.topLeft() - frame.topLeft()), place.size() - margins);
    window.setGeometry(place.adjusted(0, 0, 0, spare));
}

}  // namespace pelorinnews::WindowPlacement
