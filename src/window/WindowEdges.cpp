#include "WindowEdges.h"

#include <QGuiApplication>
#include <QLibrary>
#include <QLibraryInfo>
#include <QScreen>
#include <QVersionNumber>
#include <QWidget>
#include <QWindow>
#include <qpa/qplatformwindow.h>

namespace pelorinnews::WindowEdges {

namespace {

// Returns the tiled states of a QWaylandWindow as flags.
using TilingStates = int (*)(const void *window);

// Qt passes a window's tiled states only to the decorations that it draws. The accessor of these
// states is private API, so it is used only if the running Qt is the version of the build.
TilingStates tilingStates() {
    const QVersionNumber builtWith(QT_VERSION_MAJOR, QT_VERSION_MINOR, QT_VERSION_PATCH);
    if (QLibraryInfo::version() != builtWith)
        return nullptr;
    return reinterpret_cast<TilingStates>(
        QLibrary::resolve(QStringLiteral("Qt6WaylandClient"), 6,
                          "_ZNK15QtWaylandClient14QWaylandWindow26toplevelWindowTilingStatesEv"));
}

}  // namespace

bool isMaximizedOrFullScreen(const QWidget &window) {
    return window.isMaximized() || window.isFullScreen();
}

bool isTiled(const QWindow *window) {
    if (!window || !window->handle() ||
        !QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        return false;
    static const TilingStates states = tilingStates();
    // The function expects a `QWaylandWindow`. On Wayland that is the first base class of every
    // platform window, so the address is the same.
    return states && states(dynamic_cast<const void *>(window->handle())) != 0;
}

bool areSetByDesktop(const QWidget &window) {
    return isMaximizedOrFullScreen(window) || isTiled(window.windowHandle());
}

bool spanScreen(const QWidget &window) {
    const QSize available = window.screen()->availableSize();
    const QSize frame = window.frameGeometry().size();
    return frame.width() >= available.width() || frame.height() >= available.height();
}

int roomBelow(const QWidget &window) {
    const QRect available = window.screen()->availableGeometry();
    const QRect frame = window.frameGeometry();
    // On Wayland a program does not know where its windows are, so the first value may be wrong.
    // The second never lets the window become taller than the available area.
    return qMin(available.bottom() - frame.bottom(), available.height() - frame.height());
}

}  // namespace pelorinnews::WindowEdges
