#pragma once

#include "Assistive.h"
#include "Desktop.h"

namespace pelorinnews::test {

/// The news window of a host, as its user and the user's assistive software see it.
class Panel {
public:
    /// Whether the test's hosts have no web engine, so that they use the text renderer.
    static bool withoutWebEngine;

    /// Prepares a desktop whose host opens its news window by itself and shows all news.
    Panel();

    /// `count` items, the newest first, whose text is "Item 1" and so on.
    [[nodiscard]] static QList<FeedItem> items(int count);

    /// Makes these environment variables ("LANG=de_DE") the only source of the user's language and
    /// formats: the preferences hold no feed language. The feed is served to users of
    /// `feedLanguage`.
    void setLanguage(const QStringList &variables, const QString &feedLanguage);

    /// Serves this news and starts the host.
    void begin(const QList<FeedItem> &news);
    /// Serves this news, starts the host and waits until the first item is shown. False on timeout.
    [[nodiscard]] bool open(const QList<FeedItem> &news);
    /// Waits until the window manager has given the window the place and size that the window has
    /// asked for: before, a click would miss. `open` and `reopen` do so. False on timeout.
    [[nodiscard]] bool comesToRest();
    /// Opens the window again, from the host's menu. False on timeout.
    [[nodiscard]] bool reopen();
    [[nodiscard]] bool isOpen() const { return !desktop.newsWindow().isEmpty(); }

    /// All objects of the news window, the window first.
    [[nodiscard]] QList<Assistive::Object> objects() const;
    /// The visible object of this role and name; if there is none, an object with an empty role.
    /// Reading all objects takes long, so a test that needs several calls `objects` once and
    /// searches its result with `visible`.
    [[nodiscard]] Assistive::Object object(const char *role, const char *name) const {
        return visible(objects(), role, name);
    }
    [[nodiscard]] static Assistive::Object visible(const QList<Assistive::Object> &all,
                                                   const char *role, const char *name);
    /// The content view.
    [[nodiscard]] Assistive::Object content() const { return contentIn(objects()); }
    [[nodiscard]] static Assistive::Object contentIn(const QList<Assistive::Object> &all);
    /// `text` is the text of the content view, `position` the position of the shown item ("1 / 3").
    [[nodiscard]] QString text() const { return content().text; }
    [[nodiscard]] QString position() const;
    /// The role and the name of the control that has the keyboard focus.
    [[nodiscard]] QString focus() const;
    /// Whether the list of a menu is open.
    [[nodiscard]] bool listIsOpen() const;

    /// Clicks with the mouse on the object of this role and name. False if it is not visible.
    [[nodiscard]] bool click(const char *role, const char *name) const;
    void clickIntoThePage() const;
    /// Presses a key in the window, or several one after another.
    void press(const char *key) const { Screen::press(window, QLatin1String(key)); }
    void press(const QStringList &keys) const { Screen::press(window, keys); }

    Desktop desktop;
    /// The X11 id of the news window.
    QString window;

private:
    QString _language = QStringLiteral("en");
};

}  // namespace pelorinnews::test
