#include "RendererLoader.h"

#include "EngineStart.h"
#include "RendererPlugin.h"
#include "TextNewsRenderer.h"
#include "platform/ModuleBundle.h"

#include <QApplication>
#include <QFileInfo>
#include <QOpenGLContext>
#include <QPluginLoader>

// Exported by Qt Gui for its own modules. It is the only way to share a context after the
// application object was made.
Q_GUI_EXPORT void qt_gl_set_global_share_context(QOpenGLContext *context);

namespace pelorinnews::RendererLoader {

namespace {

// The one that this module made for the present application object.
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

// A later application object's contexts must not share with one of a display that is gone. The
// context itself is left alone: nothing tells when the engine's last thread has let go of it.
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
        qAddPostRoutine(withdrawSharedContext);
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
    // A host may have asked for sharing where there is no GL: the context is there then, but dead.
    if (const QOpenGLContext *shared = QOpenGLContext::globalShareContext())
        return shared->isValid();
    return shareContextNow();
}

}  // namespace pelorinnews::RendererLoader
