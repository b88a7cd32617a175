#pragma once

#include "NewsRenderer.h"

#include <QString>

#include <memory>

class QWidget;

namespace pelorinnews::RendererLoader {

/// Creates the best renderer that this process supports: the web renderer from the plug-in beside
/// the module, or the text renderer as a fallback. The fallback is used if the plug-in is absent,
/// does not load, or could not start without ending the process, for example under a second
/// application object after the engine has ended with the first. Never null. Main thread only.
///
/// `pluginFolder` is the folder of the plug-in; by default the module's own.
[[nodiscard]] std::unique_ptr<NewsRenderer> createRenderer(QWidget *parent,
                                                           const QString &pluginFolder = {});

/// Whether the process has a shared OpenGL context for a web engine. Call it before loading any of
/// the engine: an engine that starts without such a context ends the process. If the host made no
/// such context and the display supports it, creates one, once for each application object.
[[nodiscard]] bool canShareGraphics();

}  // namespace pelorinnews::RendererLoader
