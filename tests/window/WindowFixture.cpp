#include "WindowFixture.h"

#include "notifications/DesktopNotificationCenter.h"
#include "platform/HostBundle.h"
#include "platform/OlvLocalization.h"
#include "settings/UserDefaults.h"

#include <QApplication>
#include <QLocale>
#include <QSaveFile>

#include <algorithm>

namespace pelorinnews::test {

namespace {

QString asXml(const FeedItem &item) {
    const QString date =
        QLocale(QLocale::English, QLocale::UnitedStates)
            .toString(item.date.toUTC(), QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'"));
    return QStringLiteral(
               "<item><title>%1</title><pubDate>%2</pubDate><category>%3</category>"
               "<comments>%4</comments><description><![CDATA[%5]]></description></item>\n")
        .arg(item.title, item.date.isValid() ? date : QString(), item.category, item.plainText,
             item.html);
}

}  // namespace

WindowFixture::WindowFixture() {
    HostBundle::setIdentity({QStringLiteral("com.Olvane.Pelorin"), QStringLiteral("Olvane"),
                             QStringLiteral("Pelorin")});
    OlvNewsConfiguration().restoreDefaults();
    FeedServerOptions options;
    options.feedFolder = _feeds.path();
    _server = std::make_unique<FeedServer>(options);
    if (!_server->start())
        qFatal("the feed service does not start");
    NotificationSender sender;
    sender.stateFolder = _state.path();
    sender.busAddress = QStringLiteral("unix:path=/nonexistent/bus");
    services.notificationCenter = std::make_shared<DesktopNotificationCenter>(sender);
    services.makeFinder = [folder = _applications.path()] {
        return OlvPelorinFinder::init(FileNamePattern::like(QStringLiteral("Pelorin.app")),
                                      {folder});
    };
    prefer(QStringLiteral("newsFeedBaseURL"), _server->feedAddress());
    prefer(QStringLiteral("newsFeedLocale"), QStringLiteral("en-US"));
}

WindowFixture::~WindowFixture() {
    for (const auto &controller : _made) {
        settle(*controller);
        controller->exit();
        settle(*controller);
    }
    OlvNewsConfiguration().restoreDefaults();
}

void WindowFixture::serve(const QList<FeedItem> &items, const QString &language) {
    QString feed = QStringLiteral("<?xml version=\"1.0\"?><rss><channel><language>%1</language>\n")
                       .arg(language);
    for (const FeedItem &item : items)
        feed += asXml(item);
    feed += QStringLiteral("</channel></rss>\n");
    for (const char *name : {"standard.en.xml", "standard.en-US.xml"}) {
        QSaveFile file(_feeds.filePath(QLatin1String(name)));
        if (!file.open(QIODevice::WriteOnly) || file.write(feed.toUtf8()) < 0 || !file.commit())
            qFatal("the feed cannot be written");
    }
}

QList<FeedItem> WindowFixture::items(int count) {
    QList<FeedItem> list;
    const QDateTime newest = QDateTime::currentDateTimeUtc().addSecs(-3600);
    for (int index = 0; index < count; ++index) {
        const QString number = QString::number(index + 1);
        list.append({QStringLiteral("Title ") + number, newest.addSecs(-60 * index),
                     QStringLiteral("Plain ") + number,
                     QStringLiteral("<p>Body ") + number + QStringLiteral("</p>")});
    }
    return list;
}

void WindowFixture::prefer(const QString &key, const QVariant &value) {
    UserDefaults::standard()->setValue(key, value);
}

std::shared_ptr<OlvNewsWindowController> WindowFixture::beginController(
    const QString &windowNibName) {
    auto controller = OlvNewsWindowController::initWithWindowNibName(windowNibName, services);
    if (!controller)
        qFatal("the window controller cannot be created");
    return controller;
}

std::shared_ptr<OlvNewsWindowController> WindowFixture::makeController() {
    auto controller = beginController();
    _made.push_back(controller);
    settle(*controller);
    return controller;
}

std::shared_ptr<OlvNewsWindowController> WindowFixture::unshown(const QList<FeedItem> &items) {
    serve(items);
    prefer(QStringLiteral("newsShowOnStart"), false);
    return makeController();
}

std::shared_ptr<OlvNewsWindowController> WindowFixture::shown(const QList<FeedItem> &items) {
    serve(items);
    auto controller = makeController();
    controller->showWindow();
    if (!QTest::qWaitForWindowActive(controller->window(), testPatience))
        qFatal("the window does not become active");
    return controller;
}

void WindowFixture::settle(const OlvNewsWindowController &controller) {
    if (!QTest::qWaitFor([&controller] { return !controller.newsCache().retrievingContent(); },
                         testPatience))
        qFatal("a refresh does not end");
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

bool WindowFixture::isShown() {
    const auto windows = QApplication::topLevelWidgets();
    return std::any_of(windows.begin(), windows.end(), [](const QWidget *widget) {
        return qobject_cast<const OlvNewsWindow *>(widget) && widget->isVisible();
    });
}

QString WindowFixture::localized(const char *key) {
    OlvLocalization texts;
    texts.setBundle(QStringLiteral(PELORIN_APP_DIR "/share/pelorin-news"));
    texts.setTable(QStringLiteral("Localizable"));
    return texts.stringForKey(QLatin1String(key));
}

}  // namespace pelorinnews::test
