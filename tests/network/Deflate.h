#pragma once

#include <QByteArray>

#include <zlib.h>

namespace pelorinnews::test {

// Formats of compressed data, as values of zlib's `windowBits`.
constexpr int gzipFormat = 16 + MAX_WBITS;
constexpr int zlibFormat = MAX_WBITS;
constexpr int rawFormat = -MAX_WBITS;

inline QByteArray deflated(QByteArray bytes, int format) {
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, format, 8, Z_DEFAULT_STRATEGY) !=
        Z_OK)
        qFatal("no memory for compression");
    QByteArray out(qsizetype(deflateBound(&stream, uLong(bytes.size()))), Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef *>(bytes.data());
    stream.avail_in = uInt(bytes.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = uInt(out.size());
    deflate(&stream, Z_FINISH);
    out.truncate(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return out;
}

}  // namespace pelorinnews::test
