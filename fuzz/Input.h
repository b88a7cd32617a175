#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <algorithm>
#include <cstring>

/// Reads values from a fuzzer's input, front to back. Bytes beyond its end read as zero.
class Input {
public:
    explicit Input(QByteArrayView rest) : _rest(rest) {}

    [[nodiscard]] bool isAtEnd() const { return _rest.isEmpty(); }

    QByteArrayView bytes(qsizetype most) {
        const QByteArrayView taken = _rest.first(std::clamp<qsizetype>(most, 0, _rest.size()));
        _rest = _rest.sliced(taken.size());
        return taken;
    }

    QByteArrayView rest() { return bytes(_rest.size()); }

    /// The bytes before the next `end`, which is skipped; all bytes if there is none.
    QByteArrayView bytesUntil(char end) {
        const qsizetype at = _rest.indexOf(end);
        if (at < 0)
            return rest();
        const QByteArrayView taken = bytes(at);
        bytes(1);
        return taken;
    }

    template <class Value>
    Value value() {
        Value value{};
        const QByteArrayView taken = bytes(sizeof value);
        if (!taken.isEmpty())
            std::memcpy(&value, taken.data(), static_cast<size_t>(taken.size()));
        return value;
    }

private:
    QByteArrayView _rest;
};
