#pragma once

#include "FeedServer.h"
#include "FeedTemplate.h"

#include <QDateTime>

namespace pelorinnews::test {

/// Makes `server` serve an English feed with one item, an hour old, whose page is `page`.
inline void serveOneItemFeed(FeedServer &server, const QByteArray &page = "<p>News of today</p>") {
    FeedReply reply;
    reply.body = FeedTemplate::render(
        "<rss version=\"2.0\"><channel><language>en</language><item><title>News</title>"
        "<pubDate>{{now-1h}}</pubDate><category>mac pelorin</category>"
        "<comments>News of today</comments>"
        "<description><![CDATA[" +
            page + "]]></description></item></channel></rss>",
        QStringLiteral("en"), QDateTime::currentDateTimeUtc());
    server.setReply(reply);
}

}  // namespace pelorinnews::test
