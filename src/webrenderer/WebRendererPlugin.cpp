#include "WebRendererPlugin.h"

#include "ItemSchemeHandler.h"
#include "SoftwareGraphics.h"
#include "WebNewsRenderer.h"

namespace pelorinnews {

std::unique_ptr<NewsRenderer> WebRendererPlugin::createRenderer(QWidget *parent) {
    if (!ItemSchemeHandler::registerScheme())
        return nullptr;
    paintWithoutEmulatedGl();
    return std::make_unique<WebNewsRenderer>(parent);
}

}  // namespace pelorinnews
