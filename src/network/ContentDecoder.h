#pragma once

#include <QByteArray>

#include <memory>
#include <optional>

namespace pelorinnews {

/// Decodes the content coding of one body, piece by piece, and checks that the body is complete.
/// For one thread.
class ContentDecoder {
public:
    enum class Coding { Identity, Gzip, Deflate };
    enum class Result { Fine, Malformed, TooLong };

    /// The request header for the codings that this class decodes.
    static constexpr const char *acceptEncoding = "Accept-Encoding: gzip, deflate";

    /// The coding that a Content-Encoding field names; absent if it is not supported. An empty
    /// `field` means no coding.
    [[nodiscard]] static std::optional<Coding> codingNamed(const QByteArray &field);

    /// More than `maxBody` decoded bytes give `TooLong`.
    ContentDecoder(Coding coding, qint64 maxBody);
    ~ContentDecoder();
    ContentDecoder(const ContentDecoder &) = delete;
    ContentDecoder &operator=(const ContentDecoder &) = delete;

    /// Decodes `bytes` and appends the result to `body`. Must not be called again after any result
    /// but `Fine`.
    [[nodiscard]] Result add(const char *bytes, std::size_t size, QByteArray &body);

    /// Whether the bytes so far are a complete encoded body. Its checksum, if it has one, has been
    /// verified. Always true for `Identity`.
    [[nodiscard]] bool isComplete() const;

private:
    struct Inflater;

    [[nodiscard]] Result inflateInto(QByteArray &body);

    const Coding _coding;
    const qint64 _maxBody;
    std::unique_ptr<Inflater> _inflater;
    /// The first byte, held back until the second arrives: together they show whether a deflate
    /// body has a zlib wrapper.
    QByteArray _start;
    bool _streamEnded = false;
};

}  // namespace pelorinnews
