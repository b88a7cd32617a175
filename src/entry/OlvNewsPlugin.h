#pragma once

#include "pelorinnews/NewsPlugin.h"

#include <QObject>

namespace pelorinnews {

/// The object that plug-in loaders get from the module.
class OlvNewsPlugin final : public QObject, public NewsPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID PELORINNEWS_PLUGIN_IID FILE "plugin.json")
    Q_INTERFACES(pelorinnews::NewsPlugin)

public:
    void setHostIdentity(const HostIdentity &identity) override;
    std::shared_ptr<NewsController> init(Error *error) override;
    std::shared_ptr<NotificationCenter> notificationCenter() override;
};

}  // namespace pelorinnews
