#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>
#include <utility>
#include <vector>

namespace pelorinnews {

/// How the feed server answers a request. By default it sends the requested feed with status 200
/// and the right length, and then closes the connection. Each field is one way to misbehave; they
/// can be combined.
struct FeedReply {
    enum class Framing {
        Length,   ///< A Content-Length header.
        Chunked,  ///< Transfer-Encoding: chunked.
        Close     ///< No header: the body ends when the connection ends.
    };
    enum class ChunkError {
        None,
        Cut,       ///< The last, empty chunk is missing.
        Malformed  ///< The second chunk's size is no number.
    };
    enum class CutStyle {
        Close,  ///< The connection is closed in an orderly way (FIN, and close_notify on TLS).
        Reset   ///< The connection is reset (RST).
    };
    /// Sends the body a few bytes at a time.
    struct Drip {
        qint64 bytes = 1;
        std::chrono::milliseconds interval{100};
    };

    int status = 200;
    /// Headers in addition to the server's own, sent verbatim.
    std::vector<std::pair<QByteArray, QByteArray>> headers;

    /// Sends these bytes instead of the requested feed; present and empty for an empty body.
    std::optional<QByteArray> body;
    /// Sends a feed of exactly this many bytes (at least 1 KiB), generated while it is sent.
    std::optional<qint64> generatedBytes;
    /// Sends an endless generated feed; never with a Content-Length.
    bool endless = false;
    /// Appends one byte that is invalid in UTF-8 to the body.
    bool invalidUtf8 = false;
    /// Compresses the body, with Content-Encoding: gzip. Not for a generated body.
    bool gzip = false;

    Framing framing = Framing::Length;
    /// Added to the true Content-Length, so that the header is wrong.
    qint64 lengthError = 0;
    ChunkError chunkError = ChunkError::None;

    std::chrono::milliseconds delayBeforeHead{0};
    /// Stalls after this many bytes of the body: sends nothing more, but keeps the connection open.
    std::optional<qint64> stallAfter;
    /// Ends the connection after this many bytes of the body.
    std::optional<qint64> cutAfter;
    /// Ends the connection when the request has arrived, without an answer.
    bool cutBeforeHead = false;
    CutStyle cutStyle = CutStyle::Close;
    std::optional<Drip> drip;

    /// The Location of a 302 (or of `status`, where that is 3xx), sent verbatim.
    std::optional<QByteArray> redirectTo;
    /// The number of redirects before the answer, one after another.
    int redirects = 0;
    /// Redirects to the requested address itself.
    bool redirectLoop = false;

    /// Keeps the connection open for further requests.
    bool keepAlive = false;

    /// Reads options separated by commas, for example `status=503,delay=200,empty`. Values are
    /// percent-decoded, so write a slash or a comma in a value as %2F or %2C. Absent if an option
    /// is unknown or its value is invalid; `whyNot`, if given, gets that option. See `optionsHelp`.
    [[nodiscard]] static std::optional<FeedReply> parse(const QString &text,
                                                        QString *whyNot = nullptr);

    /// One line for each option that `parse` reads.
    [[nodiscard]] static QString optionsHelp();
};

}  // namespace pelorinnews
