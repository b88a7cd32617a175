#pragma once

#include "XmlError.h"
#include "XmlLimits.h"
#include "XmlReaderDelegate.h"

#include "pelorinnews/Error.h"

#include <QByteArrayView>
#include <QStringView>

#include <memory>
#include <optional>

namespace pelorinnews {

/// Reads one XML document from UTF-8 bytes and reports it to a delegate as events.
///
/// The bytes are taken as UTF-8, whatever the document's own declaration says.
///
/// An entity that the document declares may be used if its value has at most
/// `XmlLimits::maxEntityBytes` bytes, no "<" and no reference to another declared entity. All uses
/// together, including those in attributes, may expand to `XmlLimits::maxExpansion` bytes. The use
/// of any other entity, or of an undeclared one, is a fatal error, whether or not the document
/// names an external DTD. Of several declarations of a name the first counts, and an unused
/// declaration does no harm, whatever it holds. But once more than 1,000 declarations have referred
/// to other entities, the use of a predefined entity such as "&amp;", or of any entity in an
/// attribute, may be a fatal error, too. Nothing external is ever loaded, and declarations after a
/// reference to a parameter entity are ignored.
///
/// More than `XmlLimits::maxOpenElements` nested elements are a fatal error.
///
/// A reader serves one document: feed it the bytes in pieces of any size, then call `finish`, or
/// pass the whole document to one of the `read` operations. It belongs to one thread at a time.
class XmlReader {
public:
    /// `delegate` must outlive the reader.
    explicit XmlReader(XmlReaderDelegate &delegate);
    ~XmlReader();
    XmlReader(const XmlReader &) = delete;
    XmlReader &operator=(const XmlReader &) = delete;

    /// Takes the next bytes; a piece may end anywhere, even inside a character. False once the
    /// document has failed or is finished: the bytes are then ignored.
    bool feed(QByteArrayView bytes);

    /// Ends the document. False if it has failed, now or earlier.
    bool finish();

    /// Feeds all of `bytes` as one document and finishes it. The fastest way; copies the bytes for
    /// the duration of the call.
    bool read(QByteArrayView bytes);

    /// Feeds all of `text` as one document and finishes it. A long text is fed in small pieces, so
    /// that no second copy of it is ever in memory. A lone surrogate counts as U+FFFD.
    bool read(QStringView text);

    /// Stops with a fatal error at the current event. To be called only from a delegate's
    /// operation. `reason` is a human-readable text.
    void refuse(const QString &reason);

    /// Where the current event starts, counted from one. To be called only from a delegate's
    /// operation.
    [[nodiscard]] qint64 lineNumber() const;
    [[nodiscard]] qint64 columnNumber() const;

    /// The fatal error, if there was one; see `XmlError`.
    [[nodiscard]] const std::optional<Error> &error() const;

private:
    class Expat;
    std::unique_ptr<Expat> _expat;
};

}  // namespace pelorinnews
