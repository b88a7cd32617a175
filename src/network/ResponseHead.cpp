#include "ResponseHead.h"

#include <algorithm>

namespace pelorinnews {

namespace {

/// Bytes, for all heads and trailers of one reply together.
constexpr qint64 longestHead = qint64(256) * 1024;

bool isNumber(const QByteArray &value) {
    return !value.isEmpty() && std::all_of(value.begin(), value.end(), [](char character) {
        return character >= '0' && character <= '9';
    });
}

}  // namespace

bool ResponseHead::addLine(const QByteArray &line) {
    received += line.size();
    if (received > longestHead)
        return false;
    const QByteArray text = line.trimmed();
    if (line.startsWith("HTTP/")) {
        startHead(text);
        return true;
    }
    if (complete)
        return true;
    if (text.isEmpty()) {
        complete = true;
        return true;
    }
    const qsizetype colon = text.indexOf(':');
    const QByteArray name = text.left(colon).toLower();
    const QByteArray value = text.mid(colon + 1).trimmed();
    if (colon < 0)
        return true;
    if (name == "content-length")
        contentLengths += value;
    else if (name == "transfer-encoding")
        transferEncodings += value.toLower();
    else if (name == "content-encoding")
        contentEncodings += value;
    else if (name == "location")
        locations += value;
    return true;
}

void ResponseHead::startHead(const QByteArray &statusLine) {
    const qint64 before = received;
    *this = {};
    received = before;
    const QByteArray digits = statusLine.simplified().split(' ').value(1);
    code = isNumber(digits) ? digits.toInt() : 0;
}

std::optional<int> ResponseHead::status() const {
    return complete ? std::optional(code) : std::nullopt;
}

bool ResponseHead::isRedirect() const {
    constexpr int codes[] = {301, 302, 303, 307, 308};
    return complete && !locations.isEmpty() &&
           std::find(std::begin(codes), std::end(codes), code) != std::end(codes);
}

QByteArray ResponseHead::problem() const {
    if (code < 200)
        return "No final status";
    for (const QByteArray &length : contentLengths) {
        bool fits = false;
        length.toLongLong(&fits);
        if (!isNumber(length) || !fits)
            return "Content-Length is no length: " + length.left(40);
        if (length != contentLengths.front())
            return "Content-Length comes with different values";
    }
    // Where chunks delimit the body, a length does not count.
    const QByteArray coding = joined(transferEncodings);
    if (!coding.isEmpty() && coding != "chunked" && coding != "identity")
        return "Unknown Transfer-Encoding: " + coding.left(40);
    return {};
}

std::optional<qint64> ResponseHead::contentLength() const {
    if (contentLengths.isEmpty() || !transferEncodings.isEmpty())
        return std::nullopt;
    return contentLengths.front().toLongLong();
}

bool ResponseHead::bodyEndsWithConnection() const {
    return contentLengths.isEmpty() && joined(transferEncodings) != "chunked";
}

QByteArray ResponseHead::joined(const QList<QByteArray> &values) {
    return values.join(", ");
}

}  // namespace pelorinnews
