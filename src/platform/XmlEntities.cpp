#include "XmlEntities.h"

#include "XmlError.h"
#include "XmlLimits.h"

#include "pelorinnews/PrintableText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <expat.h>
#include <utility>

namespace pelorinnews {

namespace {

QString quoted(std::string_view name) {
    constexpr qsizetype maxNameLength = 60;
    return QLatin1Char('"') +
           printableText(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())),
                         maxNameLength) +
           QLatin1Char('"');
}

bool isCharacter(char32_t code) {
    return code == '\t' || code == '\n' || code == '\r' || (code >= 0x20 && code < 0xD800) ||
           (code >= 0xE000 && code < 0xFFFE) || (code >= 0x10000 && code <= 0x10FFFF);
}

/// The character of the numeric reference `#…`, in UTF-8; empty if it is invalid.
std::string numbered(std::string_view reference) {
    const bool isHexadecimal = reference.starts_with("#x");
    reference.remove_prefix(isHexadecimal ? 2 : 1);
    std::uint32_t code = 0;
    const char *const end = reference.data() + reference.size();
    const auto [stop, failure] =
        std::from_chars(reference.data(), end, code, isHexadecimal ? 16 : 10);
    if (failure != std::errc() || stop != end || !isCharacter(code))
        return {};
    const char32_t character = code;
    return QString::fromUcs4(&character, 1).toStdString();
}

/// The replacement of the entity `name` if it is predefined for every document; else empty.
std::string_view predefined(std::string_view name) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 5> all = {
        {{"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"apos", "'"}, {"quot", "\""}}};
    const auto found = std::find_if(all.begin(), all.end(),
                                    [name](const auto &entity) { return entity.first == name; });
    return found == all.end() ? std::string_view() : found->second;
}

/// Finds the next reference in `markup` that is neither numeric nor predefined; a malformed
/// reference counts. Returns the name of its entity and removes everything before that name from
/// `markup`. Absent if there is no such reference.
std::optional<std::string_view> nextName(std::string_view &markup) {
    while (true) {
        const std::size_t start = markup.find('&');
        if (start == std::string_view::npos)
            return std::nullopt;
        markup.remove_prefix(start + 1);
        if (markup.starts_with('#'))
            continue;
        const std::string_view name = markup.substr(0, markup.find(';'));
        if (predefined(name).empty())
            return name;
    }
}

}  // namespace

void XmlEntities::declare(std::string_view name, std::optional<std::string_view> value) {
    const auto [place, isFirst] = _declared.try_emplace(std::string(name));
    if (!isFirst)
        return;
    place->second = value ? judge(*value) : Declared{Kind::External, {}};
    if (value && nextName(*value))
        ++_nested;
}

XmlEntities::Declared XmlEntities::judge(std::string_view value) {
    if (value.size() > static_cast<std::size_t>(XmlLimits::maxEntityBytes))
        return {Kind::TooLong, {}};
    std::string text;
    while (!value.empty()) {
        const std::size_t special = value.find_first_of("<&");
        text += value.substr(0, special);
        if (special == std::string_view::npos)
            break;
        const char character = value[special];
        value.remove_prefix(special + 1);
        if (character == '<')
            return {Kind::Markup, {}};
        const std::size_t end = value.find(';');
        if (end == std::string_view::npos || end == 0)
            return {Kind::Malformed, {}};
        const std::string_view name = value.substr(0, end);
        value.remove_prefix(end + 1);
        const std::string one =
            name.front() == '#' ? numbered(name) : std::string(predefined(name));
        if (one.empty())
            return {name.front() == '#' ? Kind::Malformed : Kind::Nested, {}};
        text += one;
    }
    return {Kind::Usable, std::move(text)};
}

std::optional<XmlEntities::Refusal> XmlEntities::use(std::string_view name,
                                                     std::string_view &text) {
    const auto found = _declared.find(std::string(name));
    if (found == _declared.end())
        return Refusal{XML_ERROR_UNDEFINED_ENTITY,
                       QStringLiteral("the entity %1 is not declared").arg(quoted(name))};
    const auto unusable = [name](const char *why) {
        return Refusal{XmlError::UnusableEntity,
                       QStringLiteral("the entity %1 %2").arg(quoted(name), QLatin1String(why))};
    };
    switch (found->second.kind) {
        case Kind::External:
            return unusable("lies outside of the document");
        case Kind::TooLong:
            return Refusal{XmlError::UnusableEntity,
                           QStringLiteral("the entity %1 holds more than %2 bytes")
                               .arg(quoted(name))
                               .arg(XmlLimits::maxEntityBytes)};
        case Kind::Markup:
            return unusable("holds markup");
        case Kind::Nested:
            return unusable("holds another entity");
        case Kind::Malformed:
            return unusable("holds a broken reference");
        case Kind::Usable:
            break;
    }
    _expanded += static_cast<qsizetype>(found->second.text.size());
    if (_expanded > XmlLimits::maxExpansion)
        return Refusal{XmlError::TooMuchExpansion,
                       QStringLiteral("all uses of entities come to more than %1 bytes")
                           .arg(XmlLimits::maxExpansion)};
    text = found->second.text;
    return std::nullopt;
}

std::optional<XmlEntities::Refusal> XmlEntities::useAll(std::string_view markup) {
    while (const auto name = nextName(markup)) {
        std::string_view text;
        if (auto refusal = use(*name, text))
            return refusal;
    }
    return std::nullopt;
}

}  // namespace pelorinnews
