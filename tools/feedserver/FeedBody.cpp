#include "FeedBody.h"

namespace pelorinnews {

namespace {

constexpr qint64 endless = std::numeric_limits<qint64>::max();
const QByteArray frameEnd = "</channel></rss>\n";

}  // namespace

FeedBody::FeedBody(QByteArray bytes) : _buffer(std::move(bytes)) {}

FeedBody FeedBody::generated(std::optional<qint64> bytes, const QString &language,
                             const QString &date) {
    FeedBody body;
    body._buffer =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rss version=\"2.0\"><channel><language>" +
        language.toUtf8() + "</language>\n";
    body._itemDate = date.toUtf8();
    body._toMake = bytes ? std::max(*bytes - body._buffer.size(), frameEnd.size()) : endless;
    return body;
}

std::optional<qint64> FeedBody::remaining() const {
    if (_toMake == endless)
        return std::nullopt;
    return _buffer.size() - _position + _toMake;
}

QByteArray FeedBody::take(qint64 maxSize) {
    if (_position == _buffer.size() && _toMake > 0)
        makeMore();
    QByteArray piece = _buffer.mid(_position, maxSize);
    _position += piece.size();
    return piece;
}

void FeedBody::makeMore() {
    static const QByteArray paragraph =
        "<p>The harbour pilot reads the depth, the current and the light before the ship turns. "
        "<a href=\"https://olvane.example/more\">Read more</a></p>";
    QByteArray item = "<item><title>Generated item " + QByteArray::number(_items) +
                      "</title><pubDate>" + _itemDate +
                      "</pubDate><category>mac pelorin</category><comments>Generated item " +
                      QByteArray::number(_items) + "</comments><description><![CDATA[" +
                      paragraph.repeated(20) + "]]></description></item>\n";
    _position = 0;
    if (_toMake == endless) {
        _buffer = item;
        ++_items;
        return;
    }
    if (_toMake - item.size() >= frameEnd.size()) {
        _buffer = item;
        _toMake -= item.size();
        ++_items;
        return;
    }
    // If the rest is too short for another item, fill it with white space.
    _buffer = QByteArray(_toMake - frameEnd.size(), '\n') + frameEnd;
    _toMake = 0;
}

}  // namespace pelorinnews
