// The promise tested: in whatever pieces a body arrives, it is decoded like the whole body by zlib,
// no more than the limit is kept, and only a whole encoded body counts as complete.

#include "Input.h"
#include "network/ContentDecoder.h"

#include <vector>
#include <zlib.h>

using namespace pelorinnews;
using Coding = ContentDecoder::Coding;
using Result = ContentDecoder::Result;

namespace {

constexpr int gzipFormat = 16 + MAX_WBITS;
constexpr int zlibFormat = MAX_WBITS;
constexpr int rawFormat = -MAX_WBITS;

struct Decoded {
    Result result = Result::Fine;
    bool isComplete = false;
    QByteArray body;
};

void require(bool holds, const char *what) {
    if (!holds)
        qFatal("%s", what);
}

Bytef *bytesOf(QByteArray &bytes) {
    return reinterpret_cast<Bytef *>(bytes.data());
}

int formatOf(Coding coding, const QByteArray &bytes) {
    if (coding == Coding::Gzip)
        return gzipFormat;
    const auto first = static_cast<uchar>(bytes[0]);
    const auto second = static_cast<uchar>(bytes[1]);
    return first % 16 == 8 && (first << 8 | second) % 31 == 0 ? zlibFormat : rawFormat;
}

/// The model: one buffer for all output, one call of zlib for each member.
Decoded decodedWhole(Coding coding, QByteArray bytes, qsizetype limit) {
    if (coding == Coding::Identity)
        return {bytes.size() > limit ? Result::TooLong : Result::Fine, true, bytes};
    if (bytes.size() < 2)
        return {};
    QByteArray out(limit + 1, Qt::Uninitialized);
    z_stream stream{};
    require(inflateInit2(&stream, formatOf(coding, bytes)) == Z_OK, "no memory");
    stream.next_in = bytesOf(bytes);
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = bytesOf(out);
    stream.avail_out = static_cast<uInt>(out.size());
    int result = Z_OK;
    while ((result = inflate(&stream, Z_SYNC_FLUSH)) == Z_STREAM_END && stream.avail_in > 0 &&
           coding == Coding::Gzip)
        inflateReset(&stream);
    Decoded decoded;
    out.truncate(out.size() - static_cast<qsizetype>(stream.avail_out));
    decoded.body = out;
    const bool hasRest = result == Z_STREAM_END && stream.avail_in > 0;
    decoded.isComplete = result == Z_STREAM_END && !hasRest;
    if (out.size() > limit)
        decoded.result = Result::TooLong;
    else if (hasRest || (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR))
        decoded.result = Result::Malformed;
    inflateEnd(&stream);
    return decoded;
}

Decoded decodedInPieces(Coding coding, const QByteArray &bytes, qsizetype limit,
                        const std::vector<qsizetype> &sizes) {
    ContentDecoder decoder(coding, limit);
    Decoded decoded;
    qsizetype at = 0;
    for (std::size_t piece = 0; at < bytes.size() && decoded.result == Result::Fine; ++piece) {
        const qsizetype size = std::min(sizes[piece % sizes.size()], bytes.size() - at);
        decoded.result =
            decoder.add(bytes.constData() + at, static_cast<std::size_t>(size), decoded.body);
        require(decoded.body.size() <= limit + 1, "more than the limit was kept");
        at += size;
    }
    decoded.isComplete = decoder.isComplete();
    return decoded;
}

QByteArray encoded(QByteArrayView plain, int format) {
    QByteArray bytes = plain.toByteArray();
    z_stream stream{};
    require(deflateInit2(&stream, 1, Z_DEFLATED, format, 8, Z_DEFAULT_STRATEGY) == Z_OK,
            "no memory");
    QByteArray out(static_cast<qsizetype>(deflateBound(&stream, static_cast<uLong>(bytes.size()))),
                   Qt::Uninitialized);
    stream.next_in = bytesOf(bytes);
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = bytesOf(out);
    stream.avail_out = static_cast<uInt>(out.size());
    require(deflate(&stream, Z_FINISH) == Z_STREAM_END, "not compressed");
    out.truncate(out.size() - static_cast<qsizetype>(stream.avail_out));
    deflateEnd(&stream);
    return out;
}

void check(Coding coding, const QByteArray &bytes, qsizetype limit,
           const std::vector<qsizetype> &sizes) {
    const Decoded whole = decodedWhole(coding, bytes, limit);
    const Decoded pieces = decodedInPieces(coding, bytes, limit, sizes);
    require(pieces.result == whole.result, "pieces give another result than the whole");
    if (whole.result != Result::Fine)
        return;
    require(pieces.isComplete == whole.isComplete, "pieces are complete, the whole is not");
    require(pieces.body == whole.body, "pieces give another body than the whole");
}

}  // namespace

/// Reads a byte whose bits say the format and whether the bytes are to be compressed first; the
/// limit (2 bytes); up to 4 sizes of pieces (a byte each, up to a 0); where a bit of the compressed
/// bytes changes (2 bytes; beyond their end: nowhere), and the bytes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(QByteArrayView(data, static_cast<qsizetype>(size)));
    const auto bits = input.value<quint8>();
    const auto limit = static_cast<qsizetype>(input.value<quint16>());
    std::vector<qsizetype> sizes;
    while (sizes.size() < 4) {
        const auto piece = input.value<quint8>();
        if (piece == 0)
            break;
        sizes.push_back(piece);
    }
    if (sizes.empty())
        sizes.push_back(1 << 20);
    static constexpr int formats[] = {0, gzipFormat, zlibFormat, rawFormat};
    const int format = formats[bits % 4];
    const Coding coding = format == 0            ? Coding::Identity
                          : format == gzipFormat ? Coding::Gzip
                                                 : Coding::Deflate;
    const auto changed = static_cast<qsizetype>(input.value<quint16>());
    QByteArray bytes = input.rest().toByteArray();
    if (format != 0 && (bits & 4) != 0) {
        const QByteArray plain = bytes;
        bytes = encoded(plain, format);
        const bool hasTwoMembers = (bits & 8) != 0;
        if (hasTwoMembers)
            bytes += encoded(plain, format);
        if (changed < bytes.size())
            bytes[changed] = static_cast<char>(bytes[changed] ^ (1 << (bits >> 5)));
        else if (!hasTwoMembers && plain.size() <= limit) {
            const Decoded back = decodedInPieces(coding, bytes, limit, sizes);
            require(back.result == Result::Fine && back.isComplete && back.body == plain,
                    "a body that was encoded is not decoded to itself");
        }
    }
    check(coding, bytes, limit, sizes);
    return 0;
}
