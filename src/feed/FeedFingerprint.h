#pragma once

#include <QByteArrayView>
#include <QString>

#include <array>

namespace pelorinnews {

/// Fingerprint of a downloaded feed: size, two randomly seeded hashes, date locale. Two
/// fingerprints are equal if bytes and date locale are equal: parsing then gives the same items.
/// Can be compared within one process only, because each process draws its own seeds.
class FeedFingerprint {
public:
    /// Matches no feed: differs from the fingerprint of any bytes, an empty feed included.
    FeedFingerprint() = default;

    /// Includes the user's current date locale, in which the dates are read.
    explicit FeedFingerprint(QByteArrayView bytes);

    friend bool operator==(const FeedFingerprint &, const FeedFingerprint &) = default;

private:
    qsizetype _size = -1;
    std::array<std::size_t, 2> _hashes{};
    QString _dateLocale;
};

}  // namespace pelorinnews
