#pragma once

#include "NewsRenderer.h"

#include <QString>

#include <memory>

class QWidget;

namespace pelorinnews::RendererLoader {

/// Makes the best renderer that this process can have: the web renderer from the plug-in beside the
/// module, or the text renderer where that plug-in is absent, does not load, or could not start
/// without bringing the process down, as under a second application object when the engine has
/// ended with the first. Never null. Main thread only.
///
/// `pluginFolder` is where the plug-in lies; by default the module's own folder.
[[nodiscard]] std::unique_ptr<NewsRenderer> createRenderer(QWidget *parent,
                                                           const QString &pluginFolder = {});

/// Whether a web engine would find graphics here. Decided before anything of it is loaded,
/// since an engine that starts without a shared OpenGL context ends the process. May make such a
/// context, once for each application object, where the host made none and the display can give
/// one.
[[nodiscard]] bool canShareGraphics();

}  // namespace pelorinnews::RendererLoader
