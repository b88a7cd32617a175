#pragma once

#include <QByteArray>
#include <QList>

#include <optional>

namespace pelorinnews {

/// The head of an HTTP answer, line by line, as far as it tells what becomes of the body. The heads
/// of interim answers and of a proxy's are replaced by the next one; trailers are left aside.
///
/// It is stricter than the HTTP client that reads the same lines: two lengths that differ, a sign
/// before one, or a transfer coding beside "chunked" make an answer that cannot be told whole.
class ResponseHead {
public:
    /// Takes the next line, with or without its line end. False when heads and trailers have become
    /// longer than any that is meant well.
    [[nodiscard]] bool addLine(const QByteArray &line);

    /// The status code of the last head that is whole; absent before there is one.
    [[nodiscard]] std::optional<int> status() const;

    /// Whether the answer leads to another address: by its status, with a Location.
    [[nodiscard]] bool isRedirect() const;

    /// Why this head must not be trusted, in words for a log; empty where it may.
    [[nodiscard]] QByteArray problem() const;

    /// Of the body, where it is told.
    [[nodiscard]] std::optional<qint64> contentLength() const;
    /// Whether only the connection's end tells where the body ends.
    [[nodiscard]] bool bodyEndsWithConnection() const;
    /// Empty where there is none; several in one text with commas.
    [[nodiscard]] QByteArray contentEncoding() const { return joined(contentEncodings); }
    [[nodiscard]] QByteArray location() const { return locations.value(0); }

private:
    void startHead(const QByteArray &statusLine);
    [[nodiscard]] static QByteArray joined(const QList<QByteArray> &values);

    qint64 received = 0;
    int code = 0;
    bool complete = false;
    QList<QByteArray> contentLengths;
    QList<QByteArray> transferEncodings;
    QList<QByteArray> contentEncodings;
    QList<QByteArray> locations;
};

}  // namespace pelorinnews
