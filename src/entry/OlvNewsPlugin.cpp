#include "OlvNewsPlugin.h"

#include "HostBundle.h"
#include "OlvNewsController.h"

namespace pelorinnews {

void OlvNewsPlugin::setHostIdentity(const HostIdentity &identity) {
    HostBundle::setIdentity(identity);
}

std::shared_ptr<NewsController> OlvNewsPlugin::init(Error *error) {
    return OlvNewsController::init(error);
}

}  // namespace pelorinnews
