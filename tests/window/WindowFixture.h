#pragma once

#include "FeedServer.h"
#include "window/OlvNewsWindowController.h"

#include <QDateTime>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace pelorinnews::test {

/// One item of a feed to be served.
struct FeedItem {
    QString title;
    QDateTime date;
    QString html;
    QString plainText;
    QString category = QStringLiteral("mac pelorin");
};

/// A feed service and a host's preferences, with window controllers made over both: what the
/// window's tests stand on. Everything stored is removed again.
class WindowFixture {
public:
    WindowFixture();
    ~WindowFixture();
    WindowFixture(const WindowFixture &) = delete;
    WindowFixture &operator=(const WindowFixture &) = delete;

    /// What the service answers from now on.
    void serve(const QList<FeedItem> &items, const QString &language = QStringLiteral("en"));

    /// `count` items a minute apart, the newest first and an hour old.
    [[nodiscard]] static QList<FeedItem> items(int count);

    /// A preference, stored before controllers are made.
    void prefer(const QString &key, const QVariant &value);

    /// A controller whose first refresh has come to its end, main-thread tasks included. With
    /// `showOnStart` off it is a background refresh.
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> makeController();

    /// A controller over `items` whose window was not opened.
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> unshown(const QList<FeedItem> &items);

    /// A controller whose window shows `items`, active.
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> shown(const QList<FeedItem> &items);

    /// A controller whose first refresh may still be under way.
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> beginController(
        const QString &windowNibName = QStringLiteral("OlvNewsWindowController"));

    /// Waits until no download is under way and what it posted has run.
    static void settle(const OlvNewsWindowController &controller);

    /// Whether any news window is shown; most tests have one at most.
    [[nodiscard]] static bool isShown();

    /// The text that the key stands for, as the staged module would find it.
    [[nodiscard]] static QString localized(const char *key);

    /// What controllers made from now on use. By default the real notification centre without a
    /// bus, which keeps what is delivered in its list, and a search of `applications`.
    WindowServices services;

    /// The folder in which copies of the host ("Pelorin.app") are looked for.
    [[nodiscard]] QString applications() const { return _applications.path(); }

    FeedServer &server() { return *_server; }
    /// The path of a file that the service answers with.
    [[nodiscard]] QString feedFile(const QString &name) const { return _feeds.filePath(name); }

private:
    QTemporaryDir _feeds;
    QTemporaryDir _applications;
    QTemporaryDir _state;
    std::unique_ptr<FeedServer> _server;
    std::vector<std::shared_ptr<OlvNewsWindowController>> _made;
};

}  // namespace pelorinnews::test
