#pragma once

#include "pelorinnews/Error.h"
#include "pelorinnews/HostIdentity.h"
#include "pelorinnews/NewsController.h"
#include "pelorinnews/NotificationCenter.h"

#include <QtPlugin>

#include <memory>

namespace pelorinnews {

/// The loaded module's interface: see `loadNewsPlugin`.
///
/// The module's code stays loaded until the process ends, even after `QPluginLoader::unload`, so
/// its controllers keep working. This object itself is destroyed when the last loader unloads it.
/// Main thread only.
class NewsPlugin {
public:
    virtual ~NewsPlugin() = default;
    NewsPlugin(const NewsPlugin &) = delete;
    NewsPlugin &operator=(const NewsPlugin &) = delete;

    /// Sets the identity of the host. Call it before `init` and `notificationCenter`. A later call
    /// affects the preferences and the data folder of controllers created after it, but not the
    /// notification centre.
    virtual void setHostIdentity(const HostIdentity &identity) = 0;

    /// Creates the panel and starts its first refresh. Does not wait for the refresh and does not
    /// load the window.
    ///
    /// On failure, stores the error in `*error` and returns null. If `error` is null, a failure may
    /// instead return a controller whose operations are no-ops. On success `*error` is untouched.
    ///
    /// Fails without a `QApplication` and off the main thread. The error has the domain
    /// "com.Olvane.PelorinNews.ErrorDomain", the code -1, and its text only under
    /// `Error::underlyingErrorKey()`, so `Error::description()` does not include it.
    virtual std::shared_ptr<NewsController> init(Error *error = nullptr) = 0;

    /// The process's notification centre, which the host may use for its own notifications. Call
    /// this after the application object exists and the host's identity is set. Null if there is no
    /// application object, or when called off that object's thread. The centre ends with the
    /// application object; under a later application object, call this again for a new centre.
    ///
    /// The panel is the centre's delegate from the panel's creation until the host releases the
    /// controller after `exit`: a click on any notification, the host's included, opens the news
    /// window. The panel does not touch notifications that it did not deliver itself.
    virtual std::shared_ptr<NotificationCenter> notificationCenter() = 0;

protected:
    NewsPlugin() = default;
};

}  // namespace pelorinnews

// The number is the major version. docs/hosting.md says when it changes.
#define PELORINNEWS_PLUGIN_IID "com.Olvane.PelorinNews.NewsPlugin/1"
Q_DECLARE_INTERFACE(pelorinnews::NewsPlugin, PELORINNEWS_PLUGIN_IID)
