#pragma once

#include "rendering/RendererPlugin.h"

#include <QObject>

namespace pelorinnews {

/// The plug-in's entry object: creates web renderers.
class WebRendererPlugin final : public QObject, public RendererPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID PELORINNEWS_RENDERER_IID)
    Q_INTERFACES(pelorinnews::RendererPlugin)

public:
    std::unique_ptr<NewsRenderer> createRenderer(QWidget *parent) override;
};

}  // namespace pelorinnews
