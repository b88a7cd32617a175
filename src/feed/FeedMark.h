#pragma once

#include <QByteArrayView>
#include <QString>

#include <array>

namespace pelorinnews {

/// By what the feed of one download is known again in the next one of this process: two are equal
/// where the same bytes would give the same items. Bytes are compared by their number and 128 bits
/// of two hashes whose seeds nobody outside of the process knows.
class FeedMark {
public:
    /// Equal to no mark of any bytes.
    FeedMark() = default;

    /// Dates are read in the user's locale of this moment.
    explicit FeedMark(QByteArrayView bytes);

    friend bool operator==(const FeedMark &, const FeedMark &) = default;

private:
    qsizetype size = -1;
    std::array<std::size_t, 2> hashes{};
    QString dateLocale;
};

}  // namespace pelorinnews
