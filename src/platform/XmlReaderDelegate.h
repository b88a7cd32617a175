#pragma once

#include "pelorinnews/Error.h"

#include <QByteArrayView>

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

    /// A validity error: the document breaks the rules of its document type. `XmlReader` does not
    /// validate and never reports one.
    virtual void parserValidationErrorOccurred(const Error &error) = 0;

protected:
    XmlReaderDelegate() = default;
    XmlReaderDelegate(const XmlReaderDelegate &) = default;
    XmlReaderDelegate &operator=(const XmlReaderDelegate &) = default;
};

}  // namespace pelorinnews
