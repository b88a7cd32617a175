#pragma once

#include <pelorinnews/Error.h>
#include <pelorinnews/HostIdentity.h>
#include <pelorinnews/NewsController.h>
#include <pelorinnews/NotificationCenter.h>

#include <QtPlugin>

#include <memory>

namespace pelorinnews {

/// What the loaded module gives: `qobject_cast<NewsPlugin *>(QPluginLoader(path).instance())`.
///
/// The module's code stays loaded until the process ends, and so its controllers go on, whatever
/// the loader is told. This object itself goes with the last loader that is told to unload it. All
/// operations belong on the main thread.
class NewsPlugin {
public:
    virtual ~NewsPlugin() = default;
    NewsPlugin(const NewsPlugin &) = delete;
    NewsPlugin &operator=(const NewsPlugin &) = delete;

    /// Says who the host is. Call it before `init` and `notificationCenter`: later calls count for
    /// the preferences and data folder of controllers made afterwards, but not for the
    /// notification centre.
    virtual void setHostIdentity(const HostIdentity &identity) = 0;

    /// Creates the panel and starts its first refresh, without waiting for it and without loading
    /// the window.
    ///
    /// On failure with a place for the error: stores it there and returns null. On failure without
    /// one: may return a controller whose operations do nothing. On success `error` is untouched.
    ///
    /// Fails where there is no `QApplication`, or off the main thread. The error has the domain
    /// "com.Olvane.PelorinNews.ErrorDomain", the code -1, and its text under
    /// `Error::underlyingErrorKey()` alone, so that `Error::description()` does not tell it.
    virtual std::shared_ptr<NewsController> init(Error *error = nullptr) = 0;

    /// The process's notification centre, for notifications of the host's own. Ask for it once the
    /// application object exists and the host's identity is stated; null where there is no
    /// application object, or off its thread. It ends with the application object: under another
    /// one, ask for a new one. The panel is its delegate from creation on, until the host lets go
    /// of the controller after `exit`: a click on any notification opens the news window. It leaves
    /// alone every notification that it did not deliver itself.
    virtual std::shared_ptr<NotificationCenter> notificationCenter() = 0;

protected:
    NewsPlugin() = default;
};

}  // namespace pelorinnews

#define PELORINNEWS_PLUGIN_IID "com.Olvane.PelorinNews.NewsPlugin/1"
Q_DECLARE_INTERFACE(pelorinnews::NewsPlugin, PELORINNEWS_PLUGIN_IID)
