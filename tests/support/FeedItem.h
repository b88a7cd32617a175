#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace pelorinnews::test {

/// An item of a feed that a test serves.
struct FeedItem {
    QString title;
    QDateTime date;
    QString plainText;
    QString html;
    QString category = QStringLiteral("mac pelorin");
};

/// The template (see `FeedTemplate`) of an English feed with one item, an hour old.
inline const QByteArray oneItemFeed =
    "<rss version=\"2.0\"><channel><language>en</language><item><title>News</title>"
    "<pubDate>{{now-1h}}</pubDate><category>mac pelorin</category>"
    "<comments>News of today</comments>"
    "<description><![CDATA[<p>News of today</p>]]></description></item></channel></rss>";

}  // namespace pelorinnews::test
