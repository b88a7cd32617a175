#pragma once

#include "Assistive.h"
#include "Desktop.h"

namespace pelorinnews::test {

/// The news window of a host, as its user and the user's assistive software know it.
class Panel {
public:
    /// Whether hosts are shipped without the web engine, so that the items are painted as text.
    static bool withoutWebEngine;

    /// Prepares a desktop whose host opens its news window by itself and shows all news.
    Panel();

    /// News of which the newest is the first: `count` items, "Item 1" being the first's text.
    [[nodiscard]] static QList<FeedEntry> items(int count);

    /// Gives the user only these variables ("LANG=de_DE") to tell their language and formats by,
    /// and no stored language of the feed. The news is served to users of `feedLanguage`.
    void setLanguage(const QStringList &variables, const QString &feedLanguage);

    /// Starts the host with these news.
    void begin(const QList<FeedEntry> &news);
    /// Starts the host with these news, and waits for the first to be shown. False in vain.
    [[nodiscard]] bool open(const QList<FeedEntry> &news);
    /// Opens the window again, from the host's menu. False in vain.
    [[nodiscard]] bool reopen();
    [[nodiscard]] bool isOpen() const { return !desktop.newsWindow().isEmpty(); }

    /// All that the news window holds, itself first.
    [[nodiscard]] QList<Assistive::Object> objects() const;
    /// The object of this role and name that is shown; without a role where there is none.
    [[nodiscard]] Assistive::Object object(const char *role, const char *name) const;
    /// What shows the item.
    [[nodiscard]] Assistive::Object content() const;
    /// What the content view says, and which item it is of how many: "1 / 3".
    [[nodiscard]] QString text() const { return content().text; }
    [[nodiscard]] QString position() const;
    /// The role and the name of the control that has the keyboard focus.
    [[nodiscard]] QString focus() const;
    /// Whether the list of a pop-up is open.
    [[nodiscard]] bool listIsOpen() const;

    /// Clicks with the mouse on the object of this role and name. False where it is not shown.
    [[nodiscard]] bool click(const char *role, const char *name) const;
    void clickIntoThePage() const;
    /// Presses a key in the window.
    void press(const char *key) const { Screen::press(window, QLatin1String(key)); }

    Desktop desktop;
    /// The number of the news window.
    QString window;

private:
    QString language = QStringLiteral("en");
};

}  // namespace pelorinnews::test
