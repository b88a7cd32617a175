#include "ExpatEvents.h"

#include "XmlError.h"
#include "XmlLimits.h"
#include "XmlReaderDelegate.h"

namespace pelorinnews {

namespace {

/// Maximum nesting of the entities that Expat itself expands. Each level takes about 150 bytes of
/// stack; a thread has megabytes.
constexpr int maxNesting = 1000;

bool isOfEntities(XML_Error code) {
    return code == XML_ERROR_UNDEFINED_ENTITY || code == XML_ERROR_RECURSIVE_ENTITY_REF ||
           code == XML_ERROR_BINARY_ENTITY_REF || code == XML_ERROR_ATTRIBUTE_EXTERNAL_ENTITY_REF ||
           code == XML_ERROR_AMPLIFICATION_LIMIT_BREACH;
}

/// The name in the reference `&name;`; empty if `text` is no reference.
std::string_view nameIn(std::string_view text) {
    return text.starts_with('&') && text.ends_with(';') ? text.substr(1, text.size() - 2)
                                                        : std::string_view();
}

}  // namespace

ExpatEvents::ExpatEvents(XmlReaderDelegate &receiver)
    : _delegate(receiver), _parser(XML_ParserCreate("UTF-8")) {
    if (!_parser)
        return;
    XML_SetUserData(_parser, this);
    XML_SetElementHandler(_parser, startElement, endElement);
    XML_SetCharacterDataHandler(_parser, characters);
    XML_SetCdataSectionHandler(_parser, startCdata, endCdata);
    // With a default handler set, Expat does not expand entities in character data: it passes each
    // reference to `skippedEntity`, or to the default handler if the entity is external.
    XML_SetDefaultHandler(_parser, otherMarkup);
    XML_SetSkippedEntityHandler(_parser, skippedEntity);
    XML_SetEntityDeclHandler(_parser, entityDeclaration);
    XML_SetStartDoctypeDeclHandler(_parser, startDoctype);
    XML_SetAttlistDeclHandler(_parser, attributeDeclaration);
    // Expat itself expands entities in attributes; we count them only afterwards. This limit stops
    // Expat once the expansion is larger than the document. Expat does not apply it while both
    // together are below 8 MiB.
    constexpr float maxAmplification = 2;
    XML_SetBillionLaughsAttackProtectionMaximumAmplification(_parser, maxAmplification);
}

void ExpatEvents::fail(XML_Error code) {
    if (_failure)
        return;
    // Expat's error does not name the entity. But the current event starts with the reference, or
    // with the tag that holds the reference.
    const auto refusal = isOfEntities(code) ? _entities.useAll(currentToken()) : std::nullopt;
    if (refusal)
        report(refusal->code, refusal->reason);
    else
        report(code, QString::fromLatin1(XML_ErrorString(code)));
}

void ExpatEvents::refuse(int code, const QString &reason) {
    if (_failure)
        return;
    report(code, reason);
    if (_parser)
        XML_StopParser(_parser, XML_FALSE);
}

void ExpatEvents::refuse(const std::optional<XmlEntities::Refusal> &refusal) {
    if (refusal)
        refuse(refusal->code, refusal->reason);
}

void ExpatEvents::report(int code, const QString &reason) {
    _failure =
        Error{XmlError::domain(),
              code,
              {{XmlError::lineNumberKey(), lineNumber()},
               {XmlError::columnNumberKey(), columnNumber()},
               {Error::localizedDescriptionKey(),
                QStringLiteral("%1 at line %2, column %3")
                    .arg(reason, QString::number(lineNumber()), QString::number(columnNumber()))}}};
    _delegate.parserParseErrorOccurred(*_failure);
}

qint64 ExpatEvents::lineNumber() const {
    return _parser ? static_cast<qint64>(XML_GetCurrentLineNumber(_parser)) : 1;
}

qint64 ExpatEvents::columnNumber() const {
    if (!_parser)
        return 1;
    // Expat counts columns from zero. On the first line, the byte-order mark, which is always fed
    // first, adds the missing one.
    const auto column = static_cast<qint64>(XML_GetCurrentColumnNumber(_parser));
    return lineNumber() == 1 ? column : column + 1;
}

/// The tag, quoted value or reference at which the current event starts, verbatim. Found by
/// scanning, because after an error Expat reports an event size of 0.
std::string_view ExpatEvents::currentToken() const {
    int offset = 0;
    int size = 0;
    const char *const buffer = XML_GetInputContext(_parser, &offset, &size);
    if (!buffer || offset >= size)
        return {};
    const std::string_view input(buffer + offset, static_cast<size_t>(size - offset));
    if (input.front() == '&')
        return input.substr(0, input.find(';'));
    if (input.front() == '"' || input.front() == '\'')
        return input.substr(0, input.find(input.front(), 1));
    char quote = 0;
    for (size_t i = 0; i < input.size(); ++i) {
        if (quote == 0 && input[i] == '>')
            return input.substr(0, i);
        if (quote == 0 && (input[i] == '"' || input[i] == '\''))
            quote = input[i];
        else if (input[i] == quote)
            quote = 0;
    }
    return input;
}

void ExpatEvents::useEntity(std::string_view name) {
    std::string_view text;
    if (const auto refusal = _entities.use(name, text))
        refuse(refusal);
    else if (!text.empty())
        _delegate.parserFoundCharacters(text);
}

/// Counts those of an element's attributes that its start tag does not have.
void ExpatEvents::countDefaults(const XML_Char **attributes) {
    const XML_Char **each = attributes + XML_GetSpecifiedAttributeCount(_parser);
    for (; *each; each += 2)
        ++_defaultedAttributes;
    if (_defaultedAttributes > XmlLimits::maxDefaultedAttributes)
        refuse(XmlError::TooManyAttributes, QStringLiteral("more than %1 attributes by declaration")
                                                .arg(XmlLimits::maxDefaultedAttributes));
}

ExpatEvents *ExpatEvents::reading(void *self) {
    auto *const reader = static_cast<ExpatEvents *>(self);
    return reader->_failure ? nullptr : reader;
}

void ExpatEvents::startElement(void *self, const XML_Char *name, const XML_Char **attributes) {
    auto *const reader = reading(self);
    if (!reader)
        return;
    if (++reader->_openElements > XmlLimits::maxOpenElements) {
        reader->refuse(XmlError::TooDeep, QStringLiteral("more than %1 elements inside one another")
                                              .arg(XmlLimits::maxOpenElements));
        return;
    }
    if (reader->_hasDoctype && *attributes) {
        reader->countDefaults(attributes);
        reader->refuse(reader->_entities.useAll(reader->currentToken()));
        if (reader->_failure)
            return;
    }
    reader->_delegate.parserDidStartElement(name);
}

void ExpatEvents::endElement(void *self, const XML_Char *name) {
    auto *const reader = reading(self);
    if (!reader)
        return;
    --reader->_openElements;
    reader->_delegate.parserDidEndElement(name);
}

void ExpatEvents::characters(void *self, const XML_Char *text, int length) {
    auto *const reader = reading(self);
    if (!reader)
        return;
    const std::string_view run(text, static_cast<size_t>(length));
    if (reader->_inCdata)
        reader->_cdata += run;
    else
        reader->_delegate.parserFoundCharacters(run);
}

void ExpatEvents::otherMarkup(void *self, const XML_Char *text, int length) {
    const std::string_view name = nameIn({text, static_cast<size_t>(length)});
    if (auto *const reader = reading(self); reader && !name.empty())
        reader->useEntity(name);
}

void ExpatEvents::skippedEntity(void *self, const XML_Char *name, int isParameter) {
    if (auto *const reader = reading(self); reader && !isParameter)
        reader->useEntity(name);
}

void ExpatEvents::startDoctype(void *self, const XML_Char * /*name*/, const XML_Char * /*systemId*/,
                               const XML_Char * /*publicId*/, int /*hasInternalSubset*/) {
    static_cast<ExpatEvents *>(self)->_hasDoctype = true;
}

void ExpatEvents::entityDeclaration(void *self, const XML_Char *name, int isParameter,
                                    const XML_Char *value, int length, const XML_Char * /*base*/,
                                    const XML_Char * /*systemId*/, const XML_Char * /*publicId*/,
                                    const XML_Char * /*notation*/) {
    auto *const reader = reading(self);
    if (!reader || isParameter)
        return;
    reader->_entities.declare(
        name,
        value ? std::optional(std::string_view(value, static_cast<size_t>(length))) : std::nullopt);
    if (reader->_entities.nestedCount() <= maxNesting)
        return;
    // Expat expands nested entities recursively, so a long chain would overflow the stack. From
    // here on, Expat may not expand any entity, not even a predefined one.
    XML_SetBillionLaughsAttackProtectionActivationThreshold(reader->_parser, 0);
    XML_SetBillionLaughsAttackProtectionMaximumAmplification(reader->_parser, 1);
}

void ExpatEvents::attributeDeclaration(void *self, const XML_Char * /*element*/,
                                       const XML_Char * /*attribute*/, const XML_Char * /*type*/,
                                       const XML_Char *value, int /*isRequired*/) {
    auto *const reader = reading(self);
    if (!reader)
        return;
    if (++reader->_declaredAttributes > XmlLimits::maxDeclaredAttributes)
        reader->refuse(XmlError::TooManyAttributes,
                       QStringLiteral("more than %1 attributes declared")
                           .arg(XmlLimits::maxDeclaredAttributes));
    else if (value)
        reader->refuse(reader->_entities.useAll(reader->currentToken()));
}

void ExpatEvents::startCdata(void *self) {
    auto *const reader = reading(self);
    if (!reader)
        return;
    reader->_inCdata = true;
    reader->_cdata.clear();
}

void ExpatEvents::endCdata(void *self) {
    auto *const reader = reading(self);
    if (!reader)
        return;
    reader->_inCdata = false;
    reader->_delegate.parserFoundCDATA(
        QByteArrayView(reader->_cdata.data(), static_cast<qsizetype>(reader->_cdata.size())));
}

}  // namespace pelorinnews
