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

ContentDecoder::ContentDecoder(Coding itsCoding, qint64 longestBody)
    : coding(itsCoding), longest(longestBody) {}

ContentDecoder::~ContentDecoder() = default;

ContentDecoder::Result ContentDecoder::add(const char *bytes, std::size_t size, QByteArray &body) {
    if (coding == Coding::Identity) {
        if (static_cast<qint64>(size) > longest - body.size())
            return Result::TooLong;
        body.append(bytes, static_cast<qsizetype>(size));
        return Result::Fine;
    }
    QByteArray input(bytes, static_cast<qsizetype>(size));
    if (!inflater) {
        input.prepend(std::exchange(start, {}));
        if (input.size() < 2) {
            start = input;
            return Result::Fine;
        }
        inflater = std::make_unique<Inflater>(coding == Coding::Gzip ? gzipFormat
                                                                     : formatOfDeflate(input));
        if (!inflater->usable)
            return Result::Malformed;
    }
    inflater->stream.next_in = reinterpret_cast<Bytef *>(input.data());
    inflater->stream.avail_in = static_cast<uInt>(input.size());
    return inflateInto(body);
}

ContentDecoder::Result ContentDecoder::inflateInto(QByteArray &body) {
    constexpr qsizetype step = qsizetype(64) * 1024;
    z_stream &stream = inflater->stream;
    bool outputIsFull = false;
    while (stream.avail_in > 0 || outputIsFull) {
        if (streamEnded) {
            // Gzip data may consist of several members; nothing may follow deflate data.
            if (coding != Coding::Gzip || inflateReset(&stream) != Z_OK)
                return Result::Malformed;
            streamEnded = false;
        }
        const qsizetype had = body.size();
        // One byte beyond the limit, to detect a body that is too long.
        const auto room = static_cast<qsizetype>(std::min<qint64>(step, longest + 1 - had));
        body.resize(had + room);
        stream.next_out = reinterpret_cast<Bytef *>(body.data() + had);
        stream.avail_out = static_cast<uInt>(room);
        const int result = inflate(&stream, Z_NO_FLUSH);
        body.truncate(had + room - static_cast<qsizetype>(stream.avail_out));
        if (body.size() > longest)
            return Result::TooLong;
        outputIsFull = stream.avail_out == 0 && result == Z_OK;
        if (result == Z_STREAM_END)
            streamEnded = true;
        else if (result == Z_BUF_ERROR)
            break;  // All input is used up.
        else if (result != Z_OK)
            return Result::Malformed;
    }
    return Result::Fine;
}

bool ContentDecoder::isComplete() const {
    return coding == Coding::Identity || streamEnded;
}

}  // namespace pelorinnews
