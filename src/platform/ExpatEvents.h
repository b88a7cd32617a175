#pragma once

#include "XmlEntities.h"

#include "pelorinnews/Error.h"

#include <QString>

// Expat's header declares the functions that limit entity expansion only if this macro is defined.
#ifndef XML_DTD
#define XML_DTD 1
#endif
#include <expat.h>
#include <optional>
#include <string>
#include <string_view>

namespace pelorinnews {

class XmlReaderDelegate;

/// Turns what Expat reports about one document into the events of an `XmlReader`: collects CDATA
/// sections, resolves entities itself, and reports nothing after the first error.
class ExpatEvents {
public:
    explicit ExpatEvents(XmlReaderDelegate &delegate);
    ExpatEvents(const ExpatEvents &) = delete;
    ExpatEvents &operator=(const ExpatEvents &) = delete;
    ~ExpatEvents() { XML_ParserFree(_parser); }

    /// Expat's parser, which the caller feeds; null if there is no memory for one.
    [[nodiscard]] XML_Parser handle() const { return _parser; }

    /// Reports Expat's error `code` as the fatal error, unless the document has failed already.
    void fail(XML_Error code);

    /// Reports a fatal error at the current event and stops Expat. `reason` is a human-readable
    /// text.
    void refuse(int code, const QString &reason);

    /// Where the current event starts, counted from one.
    [[nodiscard]] qint64 lineNumber() const;
    [[nodiscard]] qint64 columnNumber() const;

    /// The fatal error, if there was one.
    [[nodiscard]] const std::optional<Error> &error() const { return _failure; }

private:
    /// The object from the user data of an Expat callback; null once the document has failed, since
    /// Expat still reports the rest of a refused event.
    static ExpatEvents *reading(void *self);

    static void startElement(void *self, const XML_Char *name, const XML_Char **attributes);
    static void endElement(void *self, const XML_Char *name);
    static void characters(void *self, const XML_Char *text, int length);
    static void startCdata(void *self);
    static void endCdata(void *self);
    static void otherMarkup(void *self, const XML_Char *text, int length);
    static void skippedEntity(void *self, const XML_Char *name, int isParameter);
    static void startDoctype(void *self, const XML_Char *name, const XML_Char *systemId,
                             const XML_Char *publicId, int hasInternalSubset);
    static void entityDeclaration(void *self, const XML_Char *name, int isParameter,
                                  const XML_Char *value, int length, const XML_Char *base,
                                  const XML_Char *systemId, const XML_Char *publicId,
                                  const XML_Char *notation);
    static void attributeDeclaration(void *self, const XML_Char *element, const XML_Char *attribute,
                                     const XML_Char *type, const XML_Char *value, int isRequired);

    void useEntity(std::string_view name);
    void countDefaults(const XML_Char **attributes);
    void refuse(const std::optional<XmlEntities::Refusal> &refusal);
    void report(int code, const QString &reason);
    [[nodiscard]] std::string_view currentToken() const;

    XmlReaderDelegate &_delegate;
    XML_Parser _parser;
    std::optional<Error> _failure;
    bool _hasDoctype = false;
    int _openElements = 0;
    int _declaredAttributes = 0;
    qint64 _defaultedAttributes = 0;
    XmlEntities _entities;
    bool _inCdata = false;
    /// The CDATA section being read. Expat delivers it line by line; the delegate gets it as a
    /// whole.
    std::string _cdata;
};

}  // namespace pelorinnews
