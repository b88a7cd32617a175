#include "WebRendererPlugin.h"

#include "ItemSchemeHandler.h"
#include "SoftwareGraphics.h"
#include "WebNewsRenderer.h"

#include <QCoreApplication>

namespace pelorinnews {

namespace {

// The engine ends for good with the application object under which it was started. Under a later
// application object, creating an object of the engine would end the process.
bool engineHasEnded = false;

void noteEnd() {
    engineHasEnded = true;
}

}  // namespace

std::unique_ptr<NewsRenderer> WebRendererPlugin::createRenderer(QWidget *parent) {
    // If the scheme is already registered, by an earlier call or by a host that uses the engine,
    // the engine may be running, and it is too late to choose its graphics API.
    const bool engineMayRun = ItemSchemeHandler::isRegistered();
    if (engineHasEnded || !ItemSchemeHandler::registerScheme())
        return nullptr;
    [[maybe_unused]] static const bool isNoted = (qAddPostRoutine(noteEnd), true);
    if (!engineMayRun)
        paintWithoutEmulatedGl();
    return std::make_unique<WebNewsRenderer>(parent);
}

}  // namespace pelorinnews
