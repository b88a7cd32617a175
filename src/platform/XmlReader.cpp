#include "XmlReader.h"

#include "ExpatEvents.h"

#include <QStringEncoder>

#include <algorithm>
#include <expat.h>
#include <string>

namespace pelorinnews {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
/// Bytes. A smaller unfinished token is parsed again from its start with each piece, a larger one
/// only when its size has doubled.
constexpr qint64 smallToken = 1 << 16;
/// The most bytes that one call passes to Expat, whose sizes are `int` and whose buffer is a power
/// of two.
constexpr qsizetype maxPieceBytes = 1'000'000'000;
/// A text up to this length is fed in one piece: after each piece but the last, Expat reads the
/// piece again to count its lines.
constexpr qsizetype shortText = 1 << 19;
constexpr qsizetype textPiece = 1 << 14;

}  // namespace

/// Feeds Expat with a document that arrives in pieces of any size. Holds back pieces of a large
/// token until enough of it has arrived.
class XmlReader::Expat {
public:
    explicit Expat(XmlReaderDelegate &delegate) : events(delegate) {}

    bool take(std::string_view bytes, bool last) {
        if (_finished || events.error())
            return false;
        if (!_started && !begin(bytes))
            return false;
        if (_awaited > 0) {
            _held += bytes;
            if (!last && static_cast<qint64>(_held.size()) < _awaited)
                return true;
            bytes = _held;
        }
        const bool parsed = parse(bytes, last);
        _held.clear();
        return parsed;
    }

    ExpatEvents events;

private:
    /// Feeds a byte-order mark before the first byte, if there is none: without it, a NUL among the
    /// first two bytes would make Expat take the bytes for UTF-16.
    bool begin(std::string_view bytes) {
        if (bytes.empty())
            return true;
        _started = true;
        return bytes.front() == byteOrderMark.front() || parse(byteOrderMark, false);
    }

    bool parse(std::string_view bytes, bool last) {
        while (bytes.size() > static_cast<size_t>(maxPieceBytes)) {
            if (!parsePiece(bytes.substr(0, maxPieceBytes), false))
                return false;
            bytes.remove_prefix(maxPieceBytes);
        }
        return parsePiece(bytes, last);
    }

    bool parsePiece(std::string_view bytes, bool last) {
        XML_Parser parser = events.handle();
        if (!parser) {
            events.fail(XML_ERROR_NO_MEMORY);
            return false;
        }
        const auto status =
            XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), last ? 1 : 0);
        if (status != XML_STATUS_OK)
            events.fail(XML_GetErrorCode(parser));
        if (events.error())
            return false;
        _finished = last;
        _taken += static_cast<qint64>(bytes.size());
        const qint64 unread = _taken - std::max<qint64>(0, XML_GetCurrentByteIndex(parser));
        _awaited = unread > smallToken ? unread : 0;
        return true;
    }

    bool _started = false;
    bool _finished = false;
    /// The bytes of an unfinished token that spans many pieces, held back: parsing the token again
    /// from its start with every piece would take quadratic time.
    std::string _held;
    qint64 _awaited = 0;
    qint64 _taken = 0;
};

XmlReader::XmlReader(XmlReaderDelegate &delegate) : _expat(std::make_unique<Expat>(delegate)) {}

XmlReader::~XmlReader() = default;

bool XmlReader::feed(QByteArrayView bytes) {
    return _expat->take({bytes.data(), static_cast<size_t>(bytes.size())}, false);
}

bool XmlReader::finish() {
    return _expat->take({}, true);
}

bool XmlReader::read(QByteArrayView bytes) {
    return _expat->take({bytes.data(), static_cast<size_t>(bytes.size())}, true);
}

bool XmlReader::read(QStringView text) {
    QStringEncoder encoder(QStringEncoder::Utf8, QStringEncoder::Flag::Stateless);
    if (text.size() <= shortText)
        return read(QByteArrayView(QByteArray(encoder(text))));
    QByteArray piece(encoder.requiredSpace(textPiece), Qt::Uninitialized);
    while (!text.isEmpty()) {
        QStringView next = text.first(std::min(textPiece, text.size()));
        if (next.size() < text.size() && next.back().isHighSurrogate())
            next.chop(1);
        const char *const end = encoder.appendToBuffer(piece.data(), next);
        if (!feed(QByteArrayView(piece.constData(), end)))
            return false;
        text = text.sliced(next.size());
    }
    return finish();
}

void XmlReader::refuse(const QString &reason) {
    _expat->events.refuse(XmlError::RefusedByDelegate, reason);
}

qint64 XmlReader::lineNumber() const {
    return _expat->events.lineNumber();
}

qint64 XmlReader::columnNumber() const {
    return _expat->events.columnNumber();
}

const std::optional<Error> &XmlReader::error() const {
    return _expat->events.error();
}

}  // namespace pelorinnews
