#include "PagePictures.h"

#include <QIODevice>
#include <QImageReader>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>

namespace pelorinnews {

namespace {

/// Decoding time allowed for each byte of a file. Progressive JPEGs, the slowest of ordinary
/// images, need half of it.
constexpr std::chrono::nanoseconds timePerByte{150};

/// How long a decoder takes for each colour sample of a progressive JPEG after its last read.
constexpr std::chrono::nanoseconds timePerSample{11};

/// A JPEG decoder reads at most this many bytes at once: a few kilobytes of a hostile file can take
/// it a tenth of a second.
constexpr qint64 maxJpegRead = 256;

// CPU time of this thread, so that images do not time out on a busy computer.
std::chrono::nanoseconds processorTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

/// A device whose reads fail once the time is up. Some image files can keep a decoder busy for
/// hours or make it use up all memory, whatever image size they state; but such a decoder keeps
/// reading from its device, so a failing read stops it. (A `QBuffer` would not do: a decoder may
/// take all of its bytes at once.)
class TimedFile final : public QIODevice {
public:
    /// A decoder gets at most `maxRead` bytes at once.
    TimedFile(const QByteArray &bytes, qint64 maxRead, std::chrono::nanoseconds end)
        : _bytes(bytes), _maxRead(maxRead), _end(end) {}

    [[nodiscard]] qint64 size() const override { return _bytes.size(); }
    [[nodiscard]] bool isTimeUp() const { return _timeUp; }

protected:
    qint64 readData(char *data, qint64 maxSize) override {
        _timeUp = _timeUp || processorTime() >= _end;
        if (_timeUp)
            return -1;
        const qint64 count = std::clamp<qint64>(size() - pos(), 0, std::min(maxSize, _maxRead));
        std::copy_n(_bytes.constData() + pos(), count, data);
        return count;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    const QByteArray &_bytes;
    qint64 _maxRead;
    std::chrono::nanoseconds _end;
    bool _timeUp = false;
};

QByteArray bytesOf(const QString &address) {
    const qsizetype comma = address.indexOf(QLatin1Char(','));
    if (comma < 0)
        return {};
    const QString kind = address.left(comma).trimmed().toLower();
    if (!kind.startsWith(QStringLiteral("data:image/")))
        return {};
    QByteArray payload =
        QByteArray::fromPercentEncoding(QStringView(address).mid(comma + 1).toUtf8());
    if (!kind.endsWith(QStringLiteral(";base64")))
        return payload;
    return QByteArray::fromBase64(payload);
}

/// The format according to the first bytes of `file`, so that only the reader of that format gets
/// the file.
QByteArray formatOf(const QByteArray &file) {
    struct Kind {
        QByteArrayView start;
        const char *format;
    };
    static constexpr std::array<Kind, 5> kinds{{
        {"\x89PNG\r\n", "png"},
        {"\xff\xd8\xff", "jpeg"},
        {"GIF8", "gif"},
        {"BM", "bmp"},
        {"RIFF", "webp"},
    }};
    for (const Kind &kind : kinds) {
        if (file.startsWith(kind.start))
            return kind.format;
    }
    return {};
}

/// The PNG without its text chunks: a few bytes of compressed text can expand until no memory is
/// left.
QByteArray withoutTexts(const QByteArray &png) {
    constexpr qsizetype signature = 8;
    constexpr qint64 frame = 12;  // a chunk's length, name and checksum
    static constexpr std::array<QByteArrayView, 3> texts{"tEXt", "zTXt", "iTXt"};
    QByteArray kept = png.left(signature);
    for (qsizetype at = signature; png.size() - at >= frame;) {
        const qint64 length = qFromBigEndian<quint32>(png.constData() + at) + frame;
        if (length > png.size() - at)
            break;
        const QByteArrayView name(png.constData() + at + 4, 4);
        if (std::find(texts.begin(), texts.end(), name) == texts.end())
            kept.append(png.constData() + at, length);
        at += length;
    }
    return kept;
}

/// The size of the GIF's logical screen, on which its frames are composed. The screen may be larger
/// than the size that the reader reports.
QSize screenOf(const QByteArray &gif) {
    constexpr qsizetype head = 10;
    if (gif.size() < head)
        return {};
    return {qFromLittleEndian<quint16>(gif.constData() + 6),
            qFromLittleEndian<quint16>(gif.constData() + 8)};
}

/// The number of colour samples of a progressive JPEG; 0 for other JPEGs. A progressive JPEG's
/// pixels are all computed after the last read, those of other files between the reads.
qint64 progressiveSamples(const QByteArray &jpeg) {
    const auto byte = [&jpeg](qsizetype at) -> int {
        return at < jpeg.size() ? static_cast<uchar>(jpeg[at]) : 0;
    };
    const auto number = [&byte](qsizetype at) { return byte(at) << 8 | byte(at + 1); };
    for (qsizetype at = 2; at < jpeg.size();) {
        const int marker = byte(at + 1);
        // As decoders do, skip what is no marker, and markers without contents.
        if (byte(at) != 0xFF || marker == 0 || marker == 0xFF) {
            ++at;
            continue;
        }
        at += 2;
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8))
            continue;
        if (marker == 0xDA)
            return 0;
        if (marker == 0xC2 || marker == 0xCA) {
            const qint64 pixels = qint64{number(at + 3)} * number(at + 5);
            int samples = 0;
            int most = 1;
            for (int i = 0; i < byte(at + 7); ++i) {
                const int sampling = byte(at + 9 + qsizetype{3} * i);
                const int each = (sampling >> 4) * (sampling & 15);
                samples += each;
                most = std::max(most, each);
            }
            return pixels * samples / most;
        }
        at += number(at);
    }
    return 0;
}

}  // namespace

PagePicture PagePictures::read(const QString &address) {
    PagePicture picture;
    picture.file = bytesOf(address);
    picture.format = formatOf(picture.file);
    if (picture.format.isEmpty())
        return {};
    if (picture.format == "png")
        picture.file = withoutTexts(picture.file);
    const auto forBytes =
        std::min<std::chrono::nanoseconds>(timePerByte * picture.file.size(), _timeForBytesLeft);
    _timeForBytesLeft -= forBytes;
    _timeLeft += forBytes;
    const auto start = processorTime();
    const bool jpeg = picture.format == "jpeg";
    auto end = start + _timeLeft;
    if (jpeg)
        end -= timePerSample * progressiveSamples(picture.file);
    TimedFile device(picture.file, jpeg ? maxJpegRead : picture.file.size(), end);
    device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    QImageReader reader(&device, picture.format);
    reader.setAutoDetectImageFormat(false);
    const qint64 weight = jpeg || picture.format == "png" ? 1 : 4;
    const auto cost = [weight](QSize size) { return weight * size.width() * size.height(); };
    QSize stated = reader.size();
    if (picture.format == "gif")
        stated = stated.expandedTo(screenOf(picture.file));
    if (!stated.isEmpty() && cost(stated) <= _pixelsLeft)
        picture.image = reader.read();
    _timeLeft -= processorTime() - start;
    // A GIF's actual size may differ from the size that it states.
    const qint64 pixels = cost(picture.image.size());
    if (device.isTimeUp() || pixels > _pixelsLeft)
        return {};
    _pixelsLeft -= pixels;
    return picture;
}

}  // namespace pelorinnews
