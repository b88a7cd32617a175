#include "ContentDecoder.h"

#include <algorithm>
#include <zlib.h>

namespace pelorinnews {

namespace {

constexpr int gzipFormat = 16 + MAX_WBITS;
constexpr int zlibFormat = MAX_WBITS;
constexpr int rawFormat = -MAX_WBITS;

/// Many servers send "deflate" without the zlib wrapper that the protocol prescribes for it.
int formatOfDeflate(const QByteArray &start) {
    const int first = static_cast<unsigned char>(start[0]);
    const int second = static_cast<unsigned char>(start[1]);
    const bool isWrapped = (first & 0x0f) == Z_DEFLATED && (first * 256 + second) % 31 == 0;
    return isWrapped ? zlibFormat : rawFormat;
}

}  // namespace

struct ContentDecoder::Inflater {
    explicit Inflater(int format) : usable(inflateInit2(&stream, format) == Z_OK) {}
    ~Inflater() {
        if (usable)
            inflateEnd(&stream);
    }
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;

    z_stream stream{};
    const bool usable;
};

std::optional<ContentDecoder::Coding> ContentDecoder::codingNamed(const QByteArray &field) {
    const QByteArray name = field.trimmed().toLower();
    if (name.isEmpty() || name == "identity")
        return Coding::Identity;
    if (name == "gzip" || name == "x-gzip")
        return Coding::Gzip;
    if (name == "deflate")
        return Coding::Deflate;
    return std::nullopt;
}

ContentDecoder::ContentDecoder(Coding itsCoding, qint64 maxBody)
    : _coding(itsCoding), _maxBody(maxBody) {}

ContentDecoder::~ContentDecoder() = default;

ContentDecoder::Result ContentDecoder::add(const char *bytes, std::size_t size, QByteArray &body) {
    if (_coding == Coding::Identity) {
        if (static_cast<qint64>(size) > _maxBody - body.size())
            return Result::TooLong;
        body.append(bytes, static_cast<qsizetype>(size));
        return Result::Fine;
    }
    QByteArray input(bytes, static_cast<qsizetype>(size));
    if (!_inflater) {
        input.prepend(std::exchange(_start, {}));
        if (input.size() < 2) {
            _start = input;
            return Result::Fine;
        }
        _inflater = std::make_unique<Inflater>(_coding == Coding::Gzip ? gzipFormat
                                                                       : formatOfDeflate(input));
        if (!_inflater->usable)
            return Result::Malformed;
    }
    _inflater->stream.next_in = reinterpret_cast<Bytef *>(input.data());
    _inflater->stream.avail_in = static_cast<uInt>(input.size());
    return inflateInto(body);
}

ContentDecoder::Result ContentDecoder::inflateInto(QByteArray &body) {
    constexpr qsizetype step = qsizetype(64) * 1024;
    z_stream &stream = _inflater->stream;
    bool outputIsFull = false;
    while (stream.avail_in > 0 || outputIsFull) {
        if (_streamEnded) {
            // Gzip data may consist of several members; nothing may follow deflate data.
            if (_coding != Coding::Gzip || inflateReset(&stream) != Z_OK)
                return Result::Malformed;
            _streamEnded = false;
        }
        const qsizetype had = body.size();
        // Allow one byte beyond the limit, to detect a body that is too long.
        const auto room = static_cast<qsizetype>(std::min<qint64>(step, _maxBody + 1 - had));
        body.resize(had + room);
        stream.next_out = reinterpret_cast<Bytef *>(body.data() + had);
        stream.avail_out = static_cast<uInt>(room);
        const int result = inflate(&stream, Z_NO_FLUSH);
        body.truncate(had + room - static_cast<qsizetype>(stream.avail_out));
        if (body.size() > _maxBody)
            return Result::TooLong;
        outputIsFull = stream.avail_out == 0 && result == Z_OK;
        if (result == Z_STREAM_END)
            _streamEnded = true;
        else if (result == Z_BUF_ERROR)
            break;  // All input is used up.
        else if (result != Z_OK)
            return Result::Malformed;
    }
    return Result::Fine;
}

bool ContentDecoder::isComplete() const {
    return _coding == Coding::Identity || _streamEnded;
}

}  // namespace pelorinnews
