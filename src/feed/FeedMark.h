#pragma once

#include <QByteArrayView>
#include <QString>

#include <array>

namespace pelorinnews {

/// Fingerprint of a downloaded feed: size, two randomly seeded hashes, date locale. Two of one
/// process are equal where the same bytes would give the same items.
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
