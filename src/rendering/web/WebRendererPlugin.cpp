#include "WebRendererPlugin.h"

#include "ItemSchemeHandler.h"
#include "SoftwareGraphics.h"
#include "WebNewsRenderer.h"

#include <QCoreApplication>

namespace pelorinnews {

namespace {

// The engine ends with the application object under which it was started, and for good: under the
// next one its first object would bring the process down.
bool engineHasEnded = false;

void noteEnd() {
    engineHasEnded = true;
}

}  // namespace

std::unique_ptr<NewsRenderer> WebRendererPlugin::createRenderer(QWidget *parent) {
    // A scheme that the host has registered may mean that it has started the engine as well.
    const bool engineMayRun = ItemSchemeHandler::isRegistered();
    if (engineHasEnded || !ItemSchemeHandler::registerScheme())
        return nullptr;
    [[maybe_unused]] static const bool isNoted = (qAddPostRoutine(noteEnd), true);
    if (!engineMayRun)
        paintWithoutEmulatedGl();
    return std::make_unique<WebNewsRenderer>(parent);
}

}  // namespace pelorinnews
