#include "XmlReader.h"

#include <QStringEncoder>

#include <algorithm>
#include <expat.h>
#include <string>

namespace pelorinnews {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
/// Below this an unfinished token is read again from its start with each piece, above it only when
/// its size has doubled.
constexpr qint64 smallToken = 1 << 16;
/// One call takes at most this much: the reader's sizes are `int` and its buffer a power of two.
constexpr qsizetype largestPiece = 1'000'000'000;
/// A text up to this length is handed over in one piece, which spares the reader a second walk
/// over it to count its lines.
constexpr qsizetype shortText = 1 << 19;
constexpr qsizetype textPiece = 1 << 14;

}  // namespace

class XmlReader::Expat {
public:
    explicit Expat(XmlReaderDelegate &receiver)
        : delegate(receiver), parser(XML_ParserCreate("UTF-8")) {
        if (!parser)
            return;
        XML_SetUserData(parser, this);
        XML_SetElementHandler(parser, startElement, endElement);
        XML_SetCharacterDataHandler(parser, characters);
        XML_SetCdataSectionHandler(parser, startCdata, endCdata);
    }
    Expat(const Expat &) = delete;
    Expat &operator=(const Expat &) = delete;
    ~Expat() { XML_ParserFree(parser); }

    bool take(std::string_view bytes, bool last) {
        if (finished)
            return false;
        if (!started && !begin(bytes))
            return false;
        if (awaited > 0) {
            held += bytes;
            if (!last && static_cast<qint64>(held.size()) < awaited)
                return true;
            bytes = held;
        }
        const bool parsed = parse(bytes, last);
        held.clear();
        return parsed;
    }

    [[nodiscard]] qint64 lineNumber() const {
        return parser ? static_cast<qint64>(XML_GetCurrentLineNumber(parser)) : 1;
    }

    [[nodiscard]] qint64 columnNumber() const {
        if (!parser)
            return 1;
        // The byte-order mark is no column of the document's first line.
        const auto column = static_cast<qint64>(XML_GetCurrentColumnNumber(parser));
        return lineNumber() == 1 ? column : column + 1;
    }

    std::optional<Error> error;

private:
    /// A mark before the first byte settles the encoding: without one, a NUL among the first two
    /// bytes would make the reader take the bytes for UTF-16.
    bool begin(std::string_view bytes) {
        if (bytes.empty())
            return true;
        started = true;
        return bytes.front() == byteOrderMark.front() || parse(byteOrderMark, false);
    }

    bool parse(std::string_view bytes, bool last) {
        while (bytes.size() > static_cast<size_t>(largestPiece)) {
            if (!parsePiece(bytes.substr(0, largestPiece), false))
                return false;
            bytes.remove_prefix(largestPiece);
        }
        return parsePiece(bytes, last);
    }

    bool parsePiece(std::string_view bytes, bool last) {
        if (!parser)
            return fail(XML_ERROR_NO_MEMORY);
        const auto status =
            XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), last ? 1 : 0);
        if (status != XML_STATUS_OK)
            return fail(XML_GetErrorCode(parser));
        finished = last;
        taken += static_cast<qint64>(bytes.size());
        const qint64 unread = taken - std::max<qint64>(0, XML_GetCurrentByteIndex(parser));
        awaited = unread > smallToken ? unread : 0;
        return true;
    }

    bool fail(XML_Error code) {
        finished = true;
        const QString reason = QString::fromLatin1(XML_ErrorString(code));
        error = Error{
            errorDomain(),
            static_cast<int>(code),
            {{lineNumberKey(), lineNumber()},
             {columnNumberKey(), columnNumber()},
             {Error::localizedDescriptionKey(),
              QStringLiteral("%1 at line %2, column %3")
                  .arg(reason, QString::number(lineNumber()), QString::number(columnNumber()))}}};
        delegate.parserParseErrorOccurred(*error);
        return false;
    }

    static void startElement(void *self, const XML_Char *name, const XML_Char ** /*attributes*/) {
        static_cast<Expat *>(self)->delegate.parserDidStartElement(name);
    }

    static void endElement(void *self, const XML_Char *name) {
        static_cast<Expat *>(self)->delegate.parserDidEndElement(name);
    }

    static void characters(void *self, const XML_Char *text, int length) {
        auto *const reader = static_cast<Expat *>(self);
        const std::string_view run(text, static_cast<size_t>(length));
        if (reader->inCdata)
            reader->cdata += run;
        else
            reader->delegate.parserFoundCharacters(run);
    }

    static void startCdata(void *self) {
        auto *const reader = static_cast<Expat *>(self);
        reader->inCdata = true;
        reader->cdata.clear();
    }

    static void endCdata(void *self) {
        auto *const reader = static_cast<Expat *>(self);
        reader->inCdata = false;
        reader->delegate.parserFoundCDATA(
            QByteArrayView(reader->cdata.data(), static_cast<qsizetype>(reader->cdata.size())));
    }

    XmlReaderDelegate &delegate;
    XML_Parser parser;
    bool started = false;
    bool finished = false;
    bool inCdata = false;
    /// The section being read: it comes line by line and is reported whole.
    std::string cdata;
    /// Bytes kept back while one token grows over many pieces: reading it again from its start
    /// with every piece would take time quadratic in its size.
    std::string held;
    qint64 awaited = 0;
    qint64 taken = 0;
};

QString XmlReader::errorDomain() {
    return QStringLiteral("com.Olvane.PelorinNews.XmlReader.ErrorDomain");
}

QString XmlReader::lineNumberKey() {
    return QStringLiteral("lineNumber");
}

QString XmlReader::columnNumberKey() {
    return QStringLiteral("columnNumber");
}

XmlReader::XmlReader(XmlReaderDelegate &delegate) : expat(std::make_unique<Expat>(delegate)) {}

XmlReader::~XmlReader() = default;

bool XmlReader::feed(QByteArrayView bytes) {
    return expat->take({bytes.data(), static_cast<size_t>(bytes.size())}, false);
}

bool XmlReader::finish() {
    return expat->take({}, true);
}

bool XmlReader::read(QByteArrayView bytes) {
    return expat->take({bytes.data(), static_cast<size_t>(bytes.size())}, true);
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

qint64 XmlReader::lineNumber() const {
    return expat->lineNumber();
}

qint64 XmlReader::columnNumber() const {
    return expat->columnNumber();
}

const std::optional<Error> &XmlReader::error() const {
    return expat->error;
}

}  // namespace pelorinnews
