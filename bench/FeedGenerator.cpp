#include "FeedGenerator.h"

#include <QDateTime>
#include <QLocale>

#include <array>
#include <random>
#include <string_view>

namespace pelorinnews::bench {

namespace {

constexpr std::array<const char *, 24> words = {
    "update",   "release", "the",         "of",       "new",     "filter", "compass", "version",
    "improves", "support", "for",         "charts",   "overlay", "and",    "faster",  "loading",
    "routes",   "with",    "caf\xC3\xA9", "download", "today",   "maps",   "fixes",   "import"};

constexpr std::array<const char *, 5> categories = {"mac pelorin", "mac pelorin critical",
                                                    "windows pelorin", "mac pelorin education",
                                                    "mac windows pelorin"};

class FeedWriter {
public:
    explicit FeedWriter(qint64 newest) : _instant(newest) {}

    void writeItem(QByteArray &feed) {
        const QDateTime date = QDateTime::fromSecsSinceEpoch(_instant, Qt::UTC);
        _instant -= 3600 + static_cast<qint64>(pick(3 * 3600));
        feed += "    <item>\n      <title>";
        writeSentence(feed, 7);
        feed += "</title>\n      <link>https://news.olvane.example/story/";
        feed += QByteArray::number(_instant);
        feed += "?from=feed&amp;lang=en</link>\n      <pubDate>";
        feed += QLocale::c().toString(date, u"ddd, dd MMM yyyy HH:mm:ss 'GMT'").toUtf8();
        feed += "</pubDate>\n      <category>";
        feed += categories.at(pick(categories.size()));
        feed += "</category>\n      <guid isPermaLink=\"false\">";
        feed += QByteArray::number(_instant);
        feed += "</guid>\n      <description><![CDATA[<html><body>\n";
        for (int paragraph = 0; paragraph < 8; ++paragraph) {
            feed += "<p class=\"body\"><b>";
            writeSentence(feed, 3);
            feed += "</b> ";
            writeSentence(feed, 16);
            feed += " <a href=\"https://www.olvane.example/a?b=c&d=e\">";
            writeSentence(feed, 3);
            feed += "</a></p>\n";
        }
        feed += "</body></html>]]></description>\n      <comments>";
        for (int line = 0; line < 8; ++line) {
            writeSentence(feed, 16);
            feed += " &amp; more.\n";
        }
        feed += "</comments>\n    </item>\n";
    }

private:
    size_t pick(size_t count) { return _random() % count; }

    void writeSentence(QByteArray &feed, int length) {
        for (int i = 0; i < length; ++i) {
            if (i > 0)
                feed += ' ';
            feed += words.at(pick(words.size()));
        }
    }

    std::minstd_rand _random;
    qint64 _instant;
};

}  // namespace

QByteArray makeFeed(int count, qint64 newest) {
    FeedWriter writer(newest);
    QByteArray feed(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rss version=\"2.0\">\n  <channel>\n"
        "    <title>News</title>\n    <language>en</language>\n");
    feed.reserve(feed.size() + qsizetype(count) * 3300);
    for (int i = 0; i < count; ++i)
        writer.writeItem(feed);
    return feed + "  </channel>\n</rss>\n";
}

}  // namespace pelorinnews::bench
