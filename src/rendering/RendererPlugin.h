#pragma once

#include "NewsRenderer.h"

#include <QtPlugin>

#include <memory>

namespace pelorinnews {

/// What a renderer in a plug-in of its own gives.
class RendererPlugin {
public:
    virtual ~RendererPlugin() = default;
    RendererPlugin(const RendererPlugin &) = delete;
    RendererPlugin &operator=(const RendererPlugin &) = delete;

    /// A renderer whose widget is a child of `parent`, or null where this process cannot have one:
    /// the host uses the engine in a way that shuts us out, or the engine has ended with an
    /// earlier application object.
    virtual std::unique_ptr<NewsRenderer> createRenderer(QWidget *parent) = 0;

protected:
    RendererPlugin() = default;
};

}  // namespace pelorinnews

#define PELORINNEWS_RENDERER_IID "com.Olvane.PelorinNews.RendererPlugin/1"
Q_DECLARE_INTERFACE(pelorinnews::RendererPlugin, PELORINNEWS_RENDERER_IID)
