#include "ResponseHead.h"

#include <algorithm>

namespace pelorinnews {

namespace {

/// Bytes, for all header fields and trailers of one reply together.
constexpr qint64 maxHeadBytes = qint64(256) * 1024;

bool isNumber(const QByteArray &value) {
    return !value.isEmpty() && std::all_of(value.begin(), value.end(), [](char character) {
        return character >= '0' && character <= '9';
    });
}

}  // namespace

bool ResponseHead::addLine(const QByteArray &line) {
    _received += line.size();
    if (_received > maxHeadBytes)
        return false;
    const QByteArray text = line.trimmed();
    if (line.startsWith("HTTP/")) {
        startHead(text);
        return true;
    }
    if (_complete)
        return true;
    if (text.isEmpty()) {
        _complete = true;
        return true;
    }
    const qsizetype colon = text.indexOf(':');
    const QByteArray name = text.left(colon).toLower();
    const QByteArray value = text.mid(colon + 1).trimmed();
    if (colon < 0)
        return true;
    if (name == "content-length")
        _contentLengths += value;
    else if (name == "transfer-encoding")
        _transferEncodings += value.toLower();
    else if (name == "content-encoding")
        _contentEncodings += value;
    else if (name == "location")
        _locations += value;
    return true;
}

void ResponseHead::startHead(const QByteArray &statusLine) {
    const qint64 before = _received;
    *this = {};
    _received = before;
    const QByteArray digits = statusLine.simplified().split(' ').value(1);
    _code = isNumber(digits) ? digits.toInt() : 0;
}

std::optional<int> ResponseHead::status() const {
    return _complete ? std::optional(_code) : std::nullopt;
}

bool ResponseHead::isRedirect() const {
    constexpr int codes[] = {301, 302, 303, 307, 308};
    return _complete && !_locations.isEmpty() &&
           std::find(std::begin(codes), std::end(codes), _code) != std::end(codes);
}

QByteArray ResponseHead::problem() const {
    if (_code < 200)
        return "No final status";
    for (const QByteArray &length : _contentLengths) {
        bool fits = false;
        length.toLongLong(&fits);
        if (!isNumber(length) || !fits)
            return "Content-Length is not a number of bytes: " + length.left(40);
        if (length != _contentLengths.front())
            return "Content-Length is given with different values";
    }
    // A Content-Length together with "Transfer-Encoding: chunked" is no problem: it is ignored.
    const QByteArray coding = joined(_transferEncodings);
    if (!coding.isEmpty() && coding != "chunked" && coding != "identity")
        return "Unknown Transfer-Encoding: " + coding.left(40);
    return {};
}

std::optional<qint64> ResponseHead::contentLength() const {
    if (_contentLengths.isEmpty() || !_transferEncodings.isEmpty())
        return std::nullopt;
    return _contentLengths.front().toLongLong();
}

bool ResponseHead::bodyEndsWithConnection() const {
    return _contentLengths.isEmpty() && joined(_transferEncodings) != "chunked";
}

QByteArray ResponseHead::joined(const QList<QByteArray> &values) {
    return values.join(", ");
}

}  // namespace pelorinnews
