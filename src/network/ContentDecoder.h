#pragma once

#include <QByteArray>

#include <memory>
#include <optional>

namespace pelorinnews {

/// Undoes the content coding of one body, piece by piece, and tells whether it came whole. For one
/// thread.
class ContentDecoder {
public:
    enum class Coding { Identity, Gzip, Deflate };
    enum class Result { Fine, Malformed, TooLong };

    /// The header field that asks for the codings that can be undone.
    static constexpr const char *acceptEncoding = "Accept-Encoding: gzip, deflate";

    /// The coding that a Content-Encoding field names; absent where it cannot be undone. An empty
    /// `field` stands for no coding.
    [[nodiscard]] static std::optional<Coding> codingNamed(const QByteArray &field);

    /// At most `longest` bytes are decoded.
    ContentDecoder(Coding coding, qint64 longest);
    ~ContentDecoder();
    ContentDecoder(const ContentDecoder &) = delete;
    ContentDecoder &operator=(const ContentDecoder &) = delete;

    /// Appends to `body` what `bytes` mean. After anything but `Fine` there is no more to ask for.
    [[nodiscard]] Result add(const char *bytes, std::size_t size, QByteArray &body);

    /// Whether what was added is the whole of a coded body. Its check sum has been compared.
    [[nodiscard]] bool isComplete() const;

private:
    struct Inflater;

    [[nodiscard]] Result inflateInto(QByteArray &body);

    const Coding coding;
    const qint64 longest;
    std::unique_ptr<Inflater> inflater;
    /// The first two bytes of a deflated body tell how it is wrapped.
    QByteArray start;
    bool streamEnded = false;
};

}  // namespace pelorinnews
