#include "WebRendererPlugin.h"

#include "ItemSchemeHandler.h"
#include "SoftwareGraphics.h"
#include "WebNewsRenderer.h"

namespace pelorinnews {

std::unique_ptr<NewsRenderer> WebRendererPlugin::createRenderer(QWidget *parent) {
    // A scheme that the host has registered may mean that it has started the engine as well.
    const bool engineMayRun = ItemSchemeHandler::isRegistered();
    if (!ItemSchemeHandler::registerScheme())
        return nullptr;
    if (!engineMayRun)
        paintWithoutEmulatedGl();
    return std::make_unique<WebNewsRenderer>(parent);
}

}  // namespace pelorinnews
