#include "FeedBody.h"

namespace pelorinnews {

namespace {

constexpr qint64 endless = std::numeric_limits<qint64>::max();
const QByteArray frameEnd = "</channel></rss>\n";

}  // namespace

FeedBody::FeedBody(QByteArray bytes) : buffer(std::move(bytes)) {}

FeedBody FeedBody::generated(std::optional<qint64> bytes, const QString &language,
                             const QString &date) {
    FeedBody body;
    body.buffer =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rss version=\"2.0\"><channel><language>" +
        language.toUtf8() + "</language>\n";
    body.itemDate = date.toUtf8();
    body.toMake = bytes ? std::max(*bytes - body.buffer.size(), frameEnd.size()) : endless;
    return body;
}

std::optional<qint64> FeedBody::remaining() const {
    if (toMake == endless)
        return std::nullopt;
    return buffer.size() - position + toMake;
}

QByteArray FeedBody::take(qint64 most) {
    if (position == buffer.size() && toMake > 0)
        makeMore();
    QByteArray piece = buffer.mid(position, most);
    position += piece.size();
    return piece;
}

void FeedBody::makeMore() {
    static const QByteArray paragraph =
        "<p>The harbour pilot reads the depth, the current and the light before the ship turns. "
        "<a href=\"https://olvane.example/more\">Read more</a></p>";
    QByteArray item = "<item><title>Generated item " + QByteArray::number(items) +
                      "</title><pubDate>" + itemDate +
                      "</pubDate><category>mac pelorin</category><comments>Generated item " +
                      QByteArray::number(items) + "</comments><description><![CDATA[" +
                      paragraph.repeated(20) + "]]></description></item>\n";
    position = 0;
    if (toMake == endless) {
        buffer = item;
        ++items;
        return;
    }
    if (toMake - item.size() >= frameEnd.size()) {
        buffer = item;
        toMake -= item.size();
        ++items;
        return;
    }
    // White space fills a rest that is too short for another item.
    buffer = QByteArray(toMake - frameEnd.size(), '\n') + frameEnd;
    toMake = 0;
}

}  // namespace pelorinnews
