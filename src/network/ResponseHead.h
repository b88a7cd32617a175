#pragma once

#include <QByteArray>
#include <QList>

#include <optional>

namespace pelorinnews {

/// Parses the status line and the header fields ("head") of an HTTP reply, line by line, as far as
/// they determine how to treat the body. The head of the final reply replaces the heads of interim
/// (1xx) replies and of a proxy; trailers are ignored.
///
/// Stricter than libcurl, which reads the same lines. Two lengths that differ, a sign before a
/// length, or a transfer coding other than "chunked" and "identity" are a `problem`: whether such a
/// reply is complete cannot be determined.
class ResponseHead {
public:
    /// Takes the next line, with or without its line end. False once all heads and trailers of the
    /// reply are together longer than 256 KB.
    [[nodiscard]] bool addLine(const QByteArray &line);

    /// The status code; absent until the current head is complete.
    [[nodiscard]] std::optional<int> status() const;

    /// Whether the reply is a redirect: its status is that of a redirect, and it has a Location
    /// field.
    [[nodiscard]] bool isRedirect() const;

    /// Why the head must not be trusted, as a text for logs; empty if there is no problem.
    [[nodiscard]] QByteArray problem() const;

    /// The body's length in bytes; absent if the header fields do not determine it.
    [[nodiscard]] std::optional<qint64> contentLength() const;
    /// Whether only the end of the connection marks the end of the body.
    [[nodiscard]] bool bodyEndsWithConnection() const;
    /// The value of the Content-Encoding field; empty if there is none. Several such fields are
    /// joined with commas.
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
