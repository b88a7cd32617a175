#pragma once

#include "NewsRenderer.h"

#include <QtPlugin>

#include <memory>

namespace pelorinnews {

/// The interface of a renderer's plug-in.
class RendererPlugin {
public:
    virtual ~RendererPlugin() = default;
    RendererPlugin(const RendererPlugin &) = delete;
    RendererPlugin &operator=(const RendererPlugin &) = delete;

    /// Creates a renderer whose widget is a child of `parent`. Null if this process cannot have
    /// one: the host has already started the engine (this renderer must register its URL scheme
    /// before that), or the engine has ended together with an earlier application object.
    virtual std::unique_ptr<NewsRenderer> createRenderer(QWidget *parent) = 0;

protected:
    RendererPlugin() = default;
};

}  // namespace pelorinnews

#define PELORINNEWS_RENDERER_IID "com.Olvane.PelorinNews.RendererPlugin/1"
Q_DECLARE_INTERFACE(pelorinnews::RendererPlugin, PELORINNEWS_RENDERER_IID)
