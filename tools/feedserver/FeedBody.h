#pragma once

#include <QByteArray>
#include <QString>

#include <limits>
#include <optional>

namespace pelorinnews {

/// The body of one response, read in pieces: given bytes, or a feed that is generated while it is
/// read.
class FeedBody {
public:
    /// An empty body.
    FeedBody() = default;

    explicit FeedBody(QByteArray bytes);

    /// A well-formed feed of exactly `bytes` bytes (at least the size of a feed without items),
    /// with items of about 3 KB whose dates are `date`. Endless if `bytes` is absent.
    static FeedBody generated(std::optional<qint64> bytes, const QString &language,
                              const QString &date);

    /// The number of bytes still to come; absent for an endless body.
    [[nodiscard]] std::optional<qint64> remaining() const;

    /// The next bytes, at most `maxSize`; empty at the end.
    [[nodiscard]] QByteArray take(qint64 maxSize);

private:
    void makeMore();

    QByteArray _buffer;
    qsizetype _position = 0;
    /// Bytes still to be generated, the closing tags included; 0 if all are in the buffer.
    qint64 _toMake = 0;
    QByteArray _itemDate;
    qint64 _items = 0;
};

}  // namespace pelorinnews
