#include "pelorinnews/NewsPlugin.h"

#include <QObject>

/// A news module that cannot create its panel.
class FailingNewsModule final : public QObject, public pelorinnews::NewsPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID PELORINNEWS_PLUGIN_IID)
    Q_INTERFACES(pelorinnews::NewsPlugin)

public:
    void setHostIdentity(const pelorinnews::HostIdentity &) override {}

    std::shared_ptr<pelorinnews::NewsController> init(pelorinnews::Error *error) override {
        if (error) {
            *error = {.domain = QStringLiteral("com.Olvane.PelorinNews.ErrorDomain"),
                      .code = -1,
                      .userInfo = {{pelorinnews::Error::underlyingErrorKey(),
                                    QStringLiteral("Nothing works today.")}}};
        }
        return nullptr;
    }

    std::shared_ptr<pelorinnews::NotificationCenter> notificationCenter() override {
        return nullptr;
    }
};

#include "FailingNewsModule.moc"
