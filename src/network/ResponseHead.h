#pragma once

#include <QByteArray>
#include <QList>

#include <optional>

namespace pelorinnews {

/// The head of an HTTP reply, line by line, as far as it determines the treatment of the body. The
/// next head replaces the heads of interim replies and of a proxy; trailers are ignored.
///
/// Stricter than the HTTP client that reads the same lines. Two lengths that differ, a sign before
/// a length, or a transfer coding besides "chunked" are a `problem`: whether such a reply is
/// complete cannot be determined.
class ResponseHead {
public:
    /// Takes the next line, with or without its line end. False once heads and trailers are longer
    /// than any legitimate ones.
    [[nodiscard]] bool addLine(const QByteArray &line);

    /// The status code of the last complete head; absent before there is one.
    [[nodiscard]] std::optional<int> status() const;

    /// Whether the reply is a redirect: its status is one, and it has a Location.
    [[nodiscard]] bool isRedirect() const;

    /// Why this head must not be trusted, as text for a log; empty if it may be.
    [[nodiscard]] QByteArray problem() const;

    /// The body's length in bytes; absent if the head does not determine it.
    [[nodiscard]] std::optional<qint64> contentLength() const;
    /// Whether only the end of the connection marks the end of the body.
    [[nodiscard]] bool bodyEndsWithConnection() const;
    /// Empty if there is none; several are joined with commas.
    [[nodiscard]] QByteArray contentEncoding() const { return joined(_contentEncodings); }
    [[nodiscard]] QByteArray location() const { return _locations.value(0); }

private:
    void startHead(const QByteArray &statusLine);
    [[nodiscard]] static QByteArray joined(const QList<QByteArray> &values);

    qint64 _received = 0;
    int _code = 0;
    bool _complete = false;
    QList<QByteArray> _contentLengths;
    QList<QByteArray> _transferEncodings;
    QList<QByteArray> _contentEncodings;
    QList<QByteArray> _locations;
};

}  // namespace pelorinnews
