#pragma once

#include "FeedItem.h"
#include "FeedServer.h"
#include "window/OlvNewsWindowController.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace pelorinnews::test {

/// A feed service and a host's preferences, and window controllers that use both: the base of the
/// window's tests. Removes everything that was stored.
class WindowFixture {
public:
    WindowFixture();
    ~WindowFixture();
    WindowFixture(const WindowFixture &) = delete;
    WindowFixture &operator=(const WindowFixture &) = delete;

    /// Sets the feed that the service serves from now on.
    void serve(const QList<FeedItem> &items, const QString &language = QStringLiteral("en"));

    /// `count` items a minute apart, the newest first and an hour old.
    [[nodiscard]] static QList<FeedItem> items(int count);

    /// Stores a preference. Call it before controllers are created.
    void prefer(const QString &key, const QVariant &value);

    /// A controller whose first refresh has completed, including its main-thread tasks. With
    /// `showOnStart` off that is a background refresh.
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> makeController();

    /// A controller over `items` whose window has not been opened.
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> unshown(const QList<FeedItem> &items);

    /// A controller whose window shows `items`, active.
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> shown(const QList<FeedItem> &items);

    /// A controller whose first refresh may still be under way.
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> beginController(
        const QString &windowNibName = QStringLiteral("OlvNewsWindowController"));

    /// Waits until no download is under way and the tasks that it has posted have run.
    static void settle(const OlvNewsWindowController &controller);

    /// Whether any news window is shown; most tests have one at most.
    [[nodiscard]] static bool isShown();

    /// The text for `key`, as the staged module would find it.
    [[nodiscard]] static QString localized(const char *key);

    /// The services of controllers created from now on. By default the real notification centre
    /// without a bus, which keeps what is delivered in its list, and a search of `applications`.
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
