#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>
#include <utility>
#include <vector>

namespace pelorinnews {

/// How the feed server answers a request. As constructed: the feed asked for, with status 200 and
/// the right length, and the connection closed after it. Each field is one way to misbehave, and
/// they combine.
struct FeedReply {
    enum class Framing {
        Length,   ///< A Content-Length header.
        Chunked,  ///< Transfer-Encoding: chunked.
        Close     ///< Neither: the connection's end is the body's end.
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
    /// A few bytes at a time.
    struct Drip {
        qint64 bytes = 1;
        std::chrono::milliseconds interval{100};
    };

    int status = 200;
    /// Headers beside the server's own, sent as they stand.
    std::vector<std::pair<QByteArray, QByteArray>> headers;

    /// These bytes instead of the feed asked for; present and empty for an empty body.
    std::optional<QByteArray> body;
    /// A feed of exactly so many bytes (at least 1 KiB), made while it is sent.
    std::optional<qint64> generatedBytes;
    /// A generated feed without an end; never with a Content-Length.
    bool endless = false;
    /// One byte of the body that no UTF-8 has, after the body's own.
    bool invalidUtf8 = false;
    /// The body compressed, with Content-Encoding: gzip. Not for a generated one.
    bool gzip = false;

    Framing framing = Framing::Length;
    /// Added to the true Content-Length.
    qint64 lengthError = 0;
    ChunkError chunkError = ChunkError::None;

    std::chrono::milliseconds delayBeforeHead{0};
    /// After so many bytes of the body nothing more is sent and the connection stays.
    std::optional<qint64> stallAfter;
    /// After so many bytes of the body the connection ends.
    std::optional<qint64> cutAfter;
    /// The connection ends when the request has come.
    bool cutBeforeHead = false;
    CutStyle cutStyle = CutStyle::Close;
    std::optional<Drip> drip;

    /// The Location of a 302 (or of `status`, where that is 3xx), sent as it stands.
    std::optional<QByteArray> redirectTo;
    /// So many redirects first, one after another.
    int redirects = 0;
    /// A redirect to the address asked for.
    bool redirectLoop = false;

    /// Whether the connection may carry a further request.
    bool keepAlive = false;

    /// Reads options separated by commas, for example `status=503,delay=200,empty`; values are
    /// percent-decoded, so a slash or a comma in one is written %2F or %2C. Absent when one is
    /// unknown or its value cannot be read; `whyNot`, where given, then says which. See
    /// `optionsHelp`.
    [[nodiscard]] static std::optional<FeedReply> parse(const QString &text,
                                                        QString *whyNot = nullptr);

    /// One line for each option that `parse` reads.
    [[nodiscard]] static QString optionsHelp();
};

}  // namespace pelorinnews
