#include "SoftwareGraphics.h"

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QQuickWindow>

#include <algorithm>

namespace pelorinnews {

namespace {

bool choiceIsMade() {
    if (qEnvironmentVariableIsSet("QT_QUICK_BACKEND") ||
        qEnvironmentVariableIsSet("QSG_RHI_BACKEND"))
        return true;
    const QWindowList windows = QGuiApplication::allWindows();
    return std::any_of(windows.begin(), windows.end(),
                       [](const QWindow *window) { return window->inherits("QQuickWindow"); });
}

bool glIsEmulated() {
    QOpenGLContext *const hostContext = QOpenGLContext::currentContext();
    QSurface *const hostSurface = hostContext ? hostContext->surface() : nullptr;
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    context.setShareContext(QOpenGLContext::globalShareContext());
    if (!context.create() || !context.makeCurrent(&surface))
        return false;
    const QByteArray renderer(
        reinterpret_cast<const char *>(context.functions()->glGetString(GL_RENDERER)));
    context.doneCurrent();
    if (hostContext)
        hostContext->makeCurrent(hostSurface);
    // The software rasterizers of Mesa and Google.
    return renderer.contains("llvmpipe") || renderer.contains("softpipe") ||
           renderer.contains("SwiftShader");
}

}  // namespace

void paintWithoutEmulatedGl() {
    if (!choiceIsMade() && glIsEmulated())
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

}  // namespace pelorinnews
