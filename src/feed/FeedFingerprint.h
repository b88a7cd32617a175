#pragma once

#include <QByteArrayView>
#include <QString>

#include <array>

namespace pelorinnews {

/// Fingerprint of a downloaded feed: size, two randomly seeded hashes, date locale. Valid within
/// one process, because the seeds are random. Equal if bytes and date locale are equal, so that
/// parsing gives the same items.
class FeedFingerprint {
public:
    /// Matches no feed: differs from the fingerprint of any bytes, even of zero bytes.
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
