#include "Panel.h"

#include <QTest>

#include <algorithm>

namespace pelorinnews::test {

using Assistive::Object;

bool Panel::withoutWebEngine = false;

Panel::Panel() {
    desktop.prefer(QStringLiteral("newsShowOnStart"), true);
    desktop.prefer(QStringLiteral("newsFilter"), 1);
}

QList<FeedItem> Panel::items(int count) {
    QList<FeedItem> all;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (int number = 1; number <= count; ++number) {
        const QString text = QStringLiteral("Item %1").arg(number);
        all.append(
            {text, now.addSecs(qint64{-60} * number), text, QStringLiteral("<p>%1</p>").arg(text)});
    }
    return all;
}

void Panel::setLanguage(const QStringList &variables, const QString &feedLanguage) {
    for (const char *const name : {"LC_ALL", "LC_TIME", "LC_MESSAGES", "LANG", "LANGUAGE"})
        desktop.setVariable(QString::fromLatin1(name), {});
    for (const QString &variable : variables)
        desktop.setVariable(variable.section(u'=', 0, 0), variable.section(u'=', 1));
    desktop.prefer(QStringLiteral("newsFeedLocale"), {});
    _language = feedLanguage;
}

void Panel::begin(const QList<FeedItem> &news) {
    desktop.serve(news, _language);
    if (withoutWebEngine)
        desktop.startHost(desktop.applicationWithoutWebEngine());
    else
        desktop.startHost();
}

bool Panel::open(const QList<FeedItem> &news) {
    begin(news);
    return QTest::qWaitFor([&] { return text() == news.first().plainText; }, testPatience) &&
           comesToRest();
}

bool Panel::reopen() {
    Screen::press(desktop.window(QStringLiteral("Pelorin")), QStringLiteral("ctrl+n"));
    return comesToRest();
}

bool Panel::comesToRest() {
    // Qt reports the positions and sizes of accessible objects in device-independent pixels.
    const int scale = qMax(1, desktop.variable(QStringLiteral("QT_SCALE_FACTOR")).toInt());
    const auto isInPlace = [&] {
        window = desktop.newsWindow();
        const QRect place = objects().value(0).place;
        return !window.isEmpty() &&
               QRect(place.topLeft() * scale, place.size() * scale) == Screen::geometry(window);
    };
    return QTest::qWaitFor(isInPlace, testPatience);
}

QList<Object> Panel::objects() const {
    return Assistive::tree(desktop.hostProcess(), QStringLiteral("Pelorin News"));
}

Object Panel::visible(const QList<Object> &all, const char *role, const char *name) {
    for (const Object &each : all) {
        if (each.role == QLatin1String(role) && each.name == QLatin1String(name) &&
            each.is("showing"))
            return each;
    }
    return {};
}

Object Panel::contentIn(const QList<Object> &all) {
    for (const Object &each : all) {
        if (each.takesText)
            return each;
    }
    return {};
}

QString Panel::position() const {
    for (const Object &each : objects()) {
        if (each.role == QLatin1String("label") && each.name.contains(QStringLiteral(" / ")))
            return each.name;
    }
    return {};
}

QString Panel::focus() const {
    QStringList all;
    for (const Object &each : objects()) {
        // A list entry keeps the state "focused" after its list has closed, so list entries do not
        // count.
        if (each.is("focused") && each.role != QLatin1String("list item"))
            all.append(each.role + QLatin1Char(' ') + each.name);
    }
    return all.join(QStringLiteral(" and "));
}

bool Panel::listIsOpen() const {
    const QList<Object> all = objects();
    return std::any_of(all.begin(), all.end(), [](const Object &each) {
        return each.role == QLatin1String("list") && each.is("showing");
    });
}

bool Panel::click(const char *role, const char *name) const {
    const Object found = object(role, name);
    if (found.role.isEmpty())
        return false;
    Screen::click(found.place.center());
    return true;
}

void Panel::clickIntoThePage() const {
    Screen::click(content().place.center());
}

}  // namespace pelorinnews::test
