#include "FeedReply.h"

#include <QStringList>
#include <QUrl>

#include <functional>

namespace pelorinnews {

namespace {

struct Option {
    const char *name;
    const char *help;
    /// Applies the option to `reply`. `value` is the text after "="; null if there is none. False
    /// if it is invalid.
    bool (*apply)(FeedReply &reply, const QString &value);
};

bool readSize(const QString &value, qint64 &size) {
    QString digits = value;
    qint64 unit = 1;
    if (digits.endsWith(QLatin1Char('k')))
        unit = 1024;
    else if (digits.endsWith(QLatin1Char('m')))
        unit = qint64{1024} * 1024;
    if (unit > 1)
        digits.chop(1);
    bool readable = false;
    const qint64 number = digits.toLongLong(&readable);
    if (!readable || number < 0 || number > std::numeric_limits<qint64>::max() / unit)
        return false;
    size = number * unit;
    return true;
}

bool readSize(const QString &value, std::optional<qint64> &size) {
    qint64 number = 0;
    if (!readSize(value, number))
        return false;
    size = number;
    return true;
}

bool readInt(const QString &value, int &number) {
    bool readable = false;
    number = value.toInt(&readable);
    return readable && number >= 0;
}

template <class T>
bool choose(T &field, T value, const QString &given) {
    field = value;
    return given.isNull();
}

bool readFraming(FeedReply &reply, const QString &value) {
    if (value == QLatin1String("length"))
        return choose(reply.framing, FeedReply::Framing::Length, {});
    if (value == QLatin1String("chunked"))
        return choose(reply.framing, FeedReply::Framing::Chunked, {});
    return value == QLatin1String("close") && choose(reply.framing, FeedReply::Framing::Close, {});
}

bool readChunkError(FeedReply &reply, const QString &value) {
    reply.framing = FeedReply::Framing::Chunked;
    if (value == QLatin1String("cut"))
        return choose(reply.chunkError, FeedReply::ChunkError::Cut, {});
    return value == QLatin1String("malformed") &&
           choose(reply.chunkError, FeedReply::ChunkError::Malformed, {});
}

bool readDrip(FeedReply &reply, const QString &value) {
    const QStringList parts = value.split(QLatin1Char(':'));
    int interval = 0;
    FeedReply::Drip drip;
    if (parts.size() != 2 || !readSize(parts[0], drip.bytes) || drip.bytes == 0 ||
        !readInt(parts[1], interval))
        return false;
    drip.interval = std::chrono::milliseconds(interval);
    reply.drip = drip;
    return true;
}

bool readDelay(FeedReply &reply, const QString &value) {
    int delay = 0;
    const bool readable = readInt(value, delay);
    reply.delayBeforeHead = std::chrono::milliseconds(delay);
    return readable;
}

bool readLengthError(FeedReply &reply, const QString &value) {
    bool readable = false;
    reply.lengthError = value.toLongLong(&readable);
    return readable;
}

const Option options[] = {
    {"status", "status=N            this status code",
     [](FeedReply &r, const QString &v) { return readInt(v, r.status) && r.status > 99; }},
    {"body", "body=TEXT           this body instead of the feed",
     [](FeedReply &r, const QString &v) {
         r.body = v.toUtf8();
         return !v.isNull();
     }},
    {"empty", "empty               an empty body",
     [](FeedReply &r, const QString &v) {
         r.body = QByteArray("");
         return v.isNull();
     }},
    {"size", "size=N[k|m]         a generated feed of exactly so many bytes",
     [](FeedReply &r, const QString &v) { return readSize(v, r.generatedBytes); }},
    {"endless", "endless             a generated feed without an end",
     [](FeedReply &r, const QString &v) { return choose(r.endless, true, v); }},
    {"invalid-utf8", "invalid-utf8        a byte at the end that no UTF-8 has",
     [](FeedReply &r, const QString &v) { return choose(r.invalidUtf8, true, v); }},
    {"gzip", "gzip                the body compressed",
     [](FeedReply &r, const QString &v) { return choose(r.gzip, true, v); }},
    {"framing", "framing=HOW         length, chunked or close", readFraming},
    {"length", "length=±N           a Content-Length wrong by so much", readLengthError},
    {"chunk-error", "chunk-error=HOW     chunked and then cut or malformed", readChunkError},
    {"delay", "delay=MS            wait before the head", readDelay},
    {"stall", "stall=N[k|m]        send nothing more after so many bytes of the body",
     [](FeedReply &r, const QString &v) { return readSize(v, r.stallAfter); }},
    {"cut", "cut=N[k|m]          end the connection after so many bytes of the body",
     [](FeedReply &r, const QString &v) { return readSize(v, r.cutAfter); }},
    {"cut-head", "cut-head            end the connection instead of answering",
     [](FeedReply &r, const QString &v) { return choose(r.cutBeforeHead, true, v); }},
    {"reset", "reset               cuts reset the connection instead of closing it",
     [](FeedReply &r, const QString &v) {
         return choose(r.cutStyle, FeedReply::CutStyle::Reset, v);
     }},
    {"drip", "drip=BYTES:MS       so many bytes of the body at a time", readDrip},
    {"redirect", "redirect=LOCATION   a redirect",
     [](FeedReply &r, const QString &v) {
         r.redirectTo = v.toUtf8();
         return !v.isEmpty();
     }},
    {"redirects", "redirects=N         so many redirects before the answer",
     [](FeedReply &r, const QString &v) { return readInt(v, r.redirects); }},
    {"loop", "loop                a redirect to the address asked for",
     [](FeedReply &r, const QString &v) { return choose(r.redirectLoop, true, v); }},
    {"keep-alive", "keep-alive          the connection may carry a further request",
     [](FeedReply &r, const QString &v) { return choose(r.keepAlive, true, v); }},
};

}  // namespace

std::optional<FeedReply> FeedReply::parse(const QString &text, QString *whyNot) {
    FeedReply reply;
    for (const QString &part : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const qsizetype equals = part.indexOf(QLatin1Char('='));
        const QString name = part.left(equals < 0 ? part.size() : equals);
        const QString value =
            equals < 0 ? QString() : QUrl::fromPercentEncoding(part.mid(equals + 1).toUtf8());
        const auto *option =
            std::find_if(std::begin(options), std::end(options),
                         [&](const Option &o) { return QLatin1String(o.name) == name; });
        if (option == std::end(options) || !option->apply(reply, value)) {
            if (whyNot)
                *whyNot = part;
            return std::nullopt;
        }
    }
    return reply;
}

QString FeedReply::optionsHelp() {
    QString text;
    for (const Option &option : options)
        text += QStringLiteral("  ") + QString::fromUtf8(option.help) + QLatin1Char('\n');
    return text;
}

}  // namespace pelorinnews
