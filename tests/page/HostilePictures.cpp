#include "HostilePictures.h"

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <QtEndian>

namespace pelorinnews::test {

namespace {

const QByteArray pngStart("\x89PNG\r\n\x1a\n", 8);

quint32 checksum(const QByteArray &bytes) {
    quint32 sum = 0xffffffff;
    for (const char byte : bytes) {
        sum ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xedb88320 : 0);
    }
    return ~sum;
}

QByteArray number(quint32 value) {
    QByteArray bytes(4, Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray chunk(const QByteArray &nameAndContent) {
    return number(static_cast<quint32>(nameAndContent.size() - 4)) + nameAndContent +
           number(checksum(nameAndContent));
}

QImage plain(QSize size) {
    QImage image(size, QImage::Format_Grayscale8);
    image.fill(Qt::black);
    return image;
}

QByteArray number16(int value) {
    QByteArray bytes(2, Qt::Uninitialized);
    qToLittleEndian(static_cast<quint16>(value), bytes.data());
    return bytes;
}

}  // namespace

QByteArray hugePicture() {
    // 65,000 by 65,000 pixels, eight bits for each of four channels, and almost no data.
    return pngStart +
           chunk("IHDR" + number(65000) + number(65000) + QByteArray("\x08\x06\x00\x00\x00", 5)) +
           chunk("IDAT" + qCompress(QByteArray(100000, '\0')).mid(4)) + chunk("IEND");
}

QByteArray plainPicture(QSize size, const char *format) {
    QBuffer buffer;
    plain(size).save(&buffer, format);
    return buffer.data();
}

QByteArray pictureWithTexts(int count) {
    const QByteArray text =
        chunk(QByteArray("zTXta\0\0", 7) + qCompress(QByteArray(7'900'000, 'a'), 9).mid(4));
    return pngStart +
           chunk("IHDR" + number(10) + number(10) + QByteArray("\x08\x00\x00\x00\x00", 5)) +
           text.repeated(count) + chunk("IDAT" + qCompress(QByteArray(110, '\0')).mid(4)) +
           chunk("IEND");
}

QByteArray framedPicture(QSize screen, QSize frame) {
    return "GIF89a" + number16(screen.width()) + number16(screen.height()) +
           QByteArray("\x80\0\0\0\0\0\xff\xff\xff,\0\0\0\0", 14) + number16(frame.width()) +
           number16(frame.height()) + QByteArray("\0\x02\x02\x44\x01\0;", 7);
}

QByteArray repaintedPicture(int count) {
    QBuffer buffer;
    QImageWriter writer(&buffer, "JPG");
    writer.setProgressiveScanWrite(true);
    writer.write(plain({5000, 5000}));
    const QByteArray file = buffer.data();
    const QByteArray end = file.last(2);
    const QByteArray lastScan = file.mid(file.lastIndexOf("\xff\xda")).chopped(2);
    return file.chopped(2) + lastScan.repeated(count) + end;
}

}  // namespace pelorinnews::test
