#pragma once

#include <QByteArray>

#include <utility>
#include <vector>

namespace pelorinnews {

/// One request as it came over the wire.
struct FeedRequest {
    /// The first line, byte for byte, without its line end.
    QByteArray requestLine;
    /// In the order sent; names as sent, values without surrounding white space.
    std::vector<std::pair<QByteArray, QByteArray>> headers;

    /// The value of the header `name`, ignoring case; null if there is none.
    [[nodiscard]] QByteArray header(const QByteArray &name) const {
        for (const auto &[key, value] : headers)
            if (key.compare(name, Qt::CaseInsensitive) == 0)
                return value;
        return {};
    }

    /// The request target: the text between the first and the last space of the request line; empty
    /// if the line has fewer than two spaces.
    [[nodiscard]] QByteArray target() const {
        const qsizetype first = requestLine.indexOf(' ');
        const qsizetype last = requestLine.lastIndexOf(' ');
        return first < last ? requestLine.mid(first + 1, last - first - 1) : QByteArray();
    }
};

}  // namespace pelorinnews
