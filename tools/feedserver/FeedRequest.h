#pragma once

#include <QByteArray>

#include <utility>
#include <vector>

namespace pelorinnews {

/// One request as it came over the wire.
struct FeedRequest {
    /// The first line, byte for byte, without its line end.
    QByteArray requestLine;
    /// Names as sent, values without the white space around them, in the order sent.
    std::vector<std::pair<QByteArray, QByteArray>> headers;

    /// The value of the header `name` in any case; null where there is none.
    [[nodiscard]] QByteArray header(const QByteArray &name) const {
        for (const auto &[key, value] : headers)
            if (key.compare(name, Qt::CaseInsensitive) == 0)
                return value;
        return {};
    }

    /// What stands between the request line's two spaces; empty when there are not two.
    [[nodiscard]] QByteArray target() const {
        const qsizetype first = requestLine.indexOf(' ');
        const qsizetype last = requestLine.lastIndexOf(' ');
        return first < last ? requestLine.mid(first + 1, last - first - 1) : QByteArray();
    }
};

}  // namespace pelorinnews
