#include "NestedValues.h"

#include "platform/RegularFile.h"

#include <QByteArray>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

namespace pelorinnews::NestedValues {

namespace {

/// The types whose values contain values. QSettings writes the numbers that types had in Qt 4, and
/// reads later ones as well: map, list, hash, variant (two numbers), and a type that is given by
/// its name (three numbers).
constexpr std::array<quint32, 8> nestingTypes = {8, 9, 28, 41, 138, 127, 1024 + 97, 65536 + 97};

bool isNesting(quint32 type) {
    return std::find(nestingTypes.begin(), nestingTypes.end(), type) != nestingTypes.end();
}

int digitOf(char character, int base) {
    int digit = -1;
    if (character >= '0' && character <= '9')
        digit = character - '0';
    else if (character >= 'a' && character <= 'f')
        digit = character - 'a' + 10;
    else if (character >= 'A' && character <= 'F')
        digit = character - 'A' + 10;
    return digit < base ? digit : -1;
}

/// Decodes the escapes of a settings file, byte by byte.
class Decoder {
public:
    explicit Decoder(QByteArrayView file) : _rest(file) {}

    [[nodiscard]] bool isAtEnd() const { return _rest.isEmpty(); }

    /// The next byte of a value; absent for what QSettings drops.
    std::optional<quint8> next() {
        const char character = take();
        if (character == '\\' && !_rest.isEmpty())
            return escaped();
        if (character == '"' || character == '\n' || character == '\r')
            return std::nullopt;
        // Characters up to U+00FF stand for bytes. In UTF-8, those from U+0080 on take two bytes.
        const auto lead = static_cast<quint8>(character);
        const bool isPair = (lead == 0xC2 || lead == 0xC3) && !_rest.isEmpty() &&
                            (static_cast<quint8>(_rest.front()) & 0xC0U) == 0x80;
        if (isPair)
            return static_cast<quint8>((lead & 3U) << 6U | (static_cast<quint8>(take()) & 0x3FU));
        return lead;
    }

private:
    char take() {
        const char first = _rest.front();
        _rest = _rest.sliced(1);
        return first;
    }

    std::optional<quint8> escaped() {
        const QByteArrayView letters("abfnrtv");
        const QByteArrayView meanings("\a\b\f\n\r\t\v");
        if (digitOf(_rest.front(), 8) >= 0)
            return number(8);
        const char letter = take();
        if (letter == 'x')
            return number(16);
        const qsizetype at = letters.indexOf(letter);
        return at >= 0 ? std::optional(static_cast<quint8>(meanings[at])) : std::nullopt;
    }

    quint8 number(int base) {
        unsigned value = 0;
        while (!_rest.isEmpty() && digitOf(_rest.front(), base) >= 0)
            value =
                value * static_cast<unsigned>(base) + static_cast<unsigned>(digitOf(take(), base));
        return static_cast<quint8>(value & 0xFFU);
    }

    QByteArrayView _rest;
};

}  // namespace

qsizetype possibleLevels(QByteArrayView file) {
    qsizetype levels = 0;
    quint32 lastFour = 0xFFFFFFFF;
    for (Decoder decoder(file); !decoder.isAtEnd();) {
        const std::optional<quint8> byte = decoder.next();
        if (!byte)
            continue;
        lastFour = lastFour << 8U | *byte;
        if (isNesting(lastFour))
            ++levels;
    }
    return levels;
}

bool areReadable(const QString &path) {
    Error unused;
    const auto bytes = RegularFile::contents(path, std::numeric_limits<qint64>::max(), &unused);
    return !bytes || possibleLevels(*bytes) <= maxLevels;
}

}  // namespace pelorinnews::NestedValues
