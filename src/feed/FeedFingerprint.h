#pragma once

#include <QByteArrayView>
#include <QString>

#include <array>

namespace pelorinnews {

/// Fingerprint of a downloaded feed: size, two randomly seeded hashes, date locale. Two of one
/// process are equal where the same bytes would give the same items.
class FeedFingerprint {
public:
    /// Equal to the fingerprint of no bytes at all.
    FeedFingerprint() = default;

    /// Dates are read in the user's locale of this moment.
    explicit FeedFingerprint(QByteArrayView bytes);

    friend bool operator==(const FeedFingerprint &, const FeedFingerprint &) = default;

private:
    qsizetype size = -1;
    std::array<std::size_t, 2> hashes{};
    QString dateLocale;
};

}  // namespace pelorinnews
