#include "RendererLoader.h"

#include "EngineStart.h"
#include "RendererPlugin.h"
#include "TextNewsRenderer.h"
#include "platform/ApplicationEnd.h"
#include "platform/ModuleBundle.h"

#include <QApplication>
#include <QFileInfo>
#include <QOpenGLContext>
#include <QPluginLoader>

// Exported by Qt Gui for Qt's own modules. The only way to share a context after the application
// object was created.
Q_GUI_EXPORT void qt_gl_set_global_share_context(QOpenGLContext *context);

namespace pelorinnews::RendererLoader {

namespace {

// The context that this module created for the current application object; null if none.
QOpenGLContext *sharedContext = nullptr;

std::unique_ptr<NewsRenderer> webRenderer(QWidget *parent, const QString &pluginFolder) {
    const QString file = (pluginFolder.isNull() ? ModuleBundle::folder() : pluginFolder) +
                         QStringLiteral("/PelorinNewsWeb.so");
    if (!QFileInfo::exists(file) || !canStartEngine() || !canShareGraphics())
        return nullptr;
    QPluginLoader loader(file);
    auto *plugin = qobject_cast<RendererPlugin *>(loader.instance());
    return plugin ? plugin->createRenderer(parent) : nullptr;
}

// Contexts under a later application object must not share with this one, because its display is
// gone. The shared context is leaked on purpose: there is no notice of when the engine's last
// thread has released it.
void withdrawSharedContext() {
    if (QOpenGLContext::globalShareContext() == sharedContext)
        qt_gl_set_global_share_context(nullptr);
    sharedContext = nullptr;
}

bool shareContextNow() {
    // Platforms without a display have no context to share, and asking some of them crashes.
    const QString platform = QGuiApplication::platformName();
    if (platform != QLatin1String("xcb") && !platform.startsWith(QLatin1String("wayland")))
        return false;
    if (!sharedContext) {
        auto candidate = std::make_unique<QOpenGLContext>();
        if (!candidate->create())
            return false;
        sharedContext = candidate.release();
        qt_gl_set_global_share_context(sharedContext);
        QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
        ApplicationEnd::add(ApplicationEnd::Phase::Graphics, withdrawSharedContext);
    }
    return true;
}

}  // namespace

std::unique_ptr<NewsRenderer> createRenderer(QWidget *parent, const QString &pluginFolder) {
    if (auto renderer = webRenderer(parent, pluginFolder))
        return renderer;
    return std::make_unique<TextNewsRenderer>(parent);
}

bool canShareGraphics() {
    // If the host set `Qt::AA_ShareOpenGLContexts` but GL is not available, a global share context
    // exists but is invalid.
    if (const QOpenGLContext *shared = QOpenGLContext::globalShareContext())
        return shared->isValid();
    return shareContextNow();
}

}  // namespace pelorinnews::RendererLoader
