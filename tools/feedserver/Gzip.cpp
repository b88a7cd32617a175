#include "Gzip.h"

#include <zlib.h>

namespace pelorinnews {

QByteArray gzip(const QByteArray &bytes) {
    constexpr int gzipFormat = 16;
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, MAX_WBITS + gzipFormat, 8,
                     Z_DEFAULT_STRATEGY) != Z_OK)
        qFatal("no memory for compression");
    QByteArray compressed(
        static_cast<qsizetype>(deflateBound(&stream, static_cast<uLong>(bytes.size()))),
        Qt::Uninitialized);
    QByteArray input = bytes;
    stream.next_in = reinterpret_cast<Bytef *>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef *>(compressed.data());
    stream.avail_out = static_cast<uInt>(compressed.size());
    deflate(&stream, Z_FINISH);
    compressed.truncate(static_cast<qsizetype>(stream.total_out));
    deflateEnd(&stream);
    return compressed;
}

}  // namespace pelorinnews
