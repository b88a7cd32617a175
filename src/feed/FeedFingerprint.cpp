#include "FeedFingerprint.h"

#include "platform/DateFormatter.h"

#include <QHashFunctions>
#include <QRandomGenerator>

namespace pelorinnews {

namespace {

const std::array<std::size_t, 2> &seeds() {
    static const std::array<std::size_t, 2> drawn = {QRandomGenerator::system()->generate64(),
                                                     QRandomGenerator::system()->generate64()};
    return drawn;
}

}  // namespace

FeedFingerprint::FeedFingerprint(QByteArrayView bytes)
    : _size(bytes.size()), _dateLocale(DateFormatter::userLocaleIdentifier()) {
    for (std::size_t i = 0; i < _hashes.size(); ++i)
        _hashes.at(i) = qHashBits(bytes.data(), static_cast<std::size_t>(_size), seeds().at(i));
}

}  // namespace pelorinnews
