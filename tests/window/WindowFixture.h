#pragma once

#include "FeedItem.h"
#include "FeedServer.h"
#include "window/OlvNewsWindowController.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace pelorinnews::test {

/// Fixture of the window's tests: a feed service, a host's preferences, and window controllers that
/// use both. The destructor removes everything that was stored.
class WindowFixture {
public:
    WindowFixture();
    ~WindowFixture();
    WindowFixture(const WindowFixture &) = delete;
    WindowFixture &operator=(const WindowFixture &) = delete;

    /// Sets the feed that the service serves from now on.
    void serve(const QList<FeedItem> &items, const QString &language = QStringLiteral("en"));

    /// `count` items, dated one minute apart: the newest comes first and is one hour old.
    [[nodiscard]] static QList<FeedItem> items(int count);

    /// Stores a preference. Call it before controllers are created.
    void prefer(const QString &key, const QVariant &value);

    /// A controller whose first refresh has completed, including its main-thread tasks. With the
    /// preference `newsShowOnStart` off, that refresh does not open the window.
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> makeController();

    /// A controller whose feed has `items`, and whose window has not been opened.
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> unshown(const QList<FeedItem> &items);

    /// A controller whose feed has `items`, and whose window is open and active.
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> shown(const QList<FeedItem> &items);

    /// A controller whose first refresh may still be under way.
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> beginController(
        const QString &windowNibName = QStringLiteral("OlvNewsWindowController"));

    /// Waits until no download is under way and all tasks posted to the main thread have run.
    static void settle(const OlvNewsWindowController &controller);

    /// Whether any news window is shown; most tests have one at most.
    [[nodiscard]] static bool isShown();

    /// The text for `key`, from the resources that the module uses, too.
    [[nodiscard]] static QString localized(const char *key);

    /// The dependencies of controllers created from now on. By default these are the real
    /// notification centre, without a bus so that delivered notifications stay in its list, and a
    /// finder that searches the folder `applications`.
    WindowServices services;

    /// The folder that is searched for copies of the host ("Pelorin.app").
    [[nodiscard]] QString applications() const { return _applications.path(); }

    FeedServer &server() { return *_server; }
    /// The path of a file that the service serves.
    [[nodiscard]] QString feedFile(const QString &name) const { return _feeds.filePath(name); }

private:
    QTemporaryDir _feeds;
    QTemporaryDir _applications;
    QTemporaryDir _state;
    std::unique_ptr<FeedServer> _server;
    std::vector<std::shared_ptr<OlvNewsWindowController>> _made;
};

}  // namespace pelorinnews::test
