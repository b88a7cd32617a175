#pragma once

#include "pelorinnews/Error.h"

#include <QByteArrayView>
#include <QStringView>

#include <memory>
#include <optional>
#include <string_view>

namespace pelorinnews {

/// What an `XmlReader` reports, in document order, on the thread that feeds it.
///
/// Every name, text and section is UTF-8 and valid only during the call. Attributes are not
/// reported and namespaces are not processed: a name is reported as in the document, prefix
/// included. A delegate must not destroy its reader inside a call.
class XmlReaderDelegate {
public:
    virtual ~XmlReaderDelegate() = default;

    virtual void parserDidStartElement(std::string_view name) = 0;

    /// Character data with its entities and numeric references resolved and its line ends
    /// normalised to a line feed. One run of text may come in several calls; none is ever empty.
    virtual void parserFoundCharacters(std::string_view text) = 0;

    /// One whole CDATA section, which may be empty (but is never null).
    virtual void parserFoundCDATA(QByteArrayView bytes) = 0;

    virtual void parserDidEndElement(std::string_view name) = 0;

    /// The document's first fatal error; nothing is reported after it.
    virtual void parserParseErrorOccurred(const Error &error) = 0;

    /// A validity error: the document breaks the rules of its type. `XmlReader` does not validate
    /// and never reports one.
    virtual void parserValidationErrorOccurred(const Error &error) = 0;

protected:
    XmlReaderDelegate() = default;
    XmlReaderDelegate(const XmlReaderDelegate &) = default;
    XmlReaderDelegate &operator=(const XmlReaderDelegate &) = default;
};

/// Reads one XML document from UTF-8 bytes and reports it to a delegate as events.
///
/// The bytes are taken as UTF-8, whatever the document's own declaration says.
///
/// An entity that the document declares may be used if its value has at most `longestEntity` bytes,
/// no "<" and no reference to another declared entity. All uses together, including those in
/// attributes, may expand to `maxExpansion` bytes. The use of any other entity, or of an
/// undeclared one, is a fatal error, whether or not the document names an external type. Of several
/// declarations of a name the first counts, and an unused declaration does no harm, whatever it
/// holds. But once more than 1,000 declarations have referred to others, the use of a predefined
/// entity such as "&amp;", or of any entity in an attribute, may be a fatal error, too. Nothing
/// external is ever loaded, and declarations after a reference to a parameter entity do not count.
///
/// More than `maxOpenElements` nested elements are a fatal error.
///
/// A reader serves one document: feed it the bytes in pieces of any size, then call `finish`, or
/// pass the whole document to one of the `read` operations. It belongs to one thread at a time.
class XmlReader {
public:
    static constexpr qsizetype longestEntity = 100;
    static constexpr qsizetype maxExpansion = 1'000'000;
    static constexpr int maxOpenElements = 200'000;

    /// The domain of a fatal error; its code is Expat's, or one of these.
    static QString errorDomain();
    enum ErrorCode {
        UnusableEntity = 1000,
        TooMuchExpansion,
        /// The delegate wants no more of the document.
        RefusedByDelegate,
        TooDeep,
    };
    /// Entries of an error's user information: where the document broke, counted from one.
    static QString lineNumberKey();
    static QString columnNumberKey();

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

    /// Ends the reading with a fatal error at the current event; inside a delegate's call only.
    /// `reason` is a text for people.
    void refuse(const QString &reason);

    /// Where the current event starts, counted from one; inside a delegate's call only.
    [[nodiscard]] qint64 lineNumber() const;
    [[nodiscard]] qint64 columnNumber() const;

    /// The fatal error, if there was one.
    [[nodiscard]] const std::optional<Error> &error() const;

private:
    class Expat;
    std::unique_ptr<Expat> _expat;
};

}  // namespace pelorinnews
