#pragma once

#include <QByteArray>
#include <QString>

#include <limits>
#include <optional>

namespace pelorinnews {

/// The bytes of one answer, taken piece by piece: given ones, or a feed made while it is taken.
class FeedBody {
public:
    /// An empty body.
    FeedBody() = default;

    explicit FeedBody(QByteArray bytes);

    /// A well-formed feed of exactly `bytes` bytes (a claim below its frame's size gives the
    /// frame), of items of about 3 KB whose dates are `date`; without an end where `bytes` is
    /// absent.
    static FeedBody generated(std::optional<qint64> bytes, const QString &language,
                              const QString &date);

    /// The number of bytes still to come; absent when they have no end.
    [[nodiscard]] std::optional<qint64> remaining() const;

    /// The next bytes, at most `most`; empty at the end.
    [[nodiscard]] QByteArray take(qint64 most);

private:
    void makeMore();

    QByteArray buffer;
    qsizetype position = 0;
    /// Bytes still to be made, the frame's end included; 0 when all stand in the buffer.
    qint64 toMake = 0;
    QByteArray itemDate;
    qint64 items = 0;
};

}  // namespace pelorinnews
