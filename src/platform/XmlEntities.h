#pragma once

#include <QString>

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace pelorinnews {

/// The general entities that one document declares. Counts how much they have been expanded so far,
/// and enforces the limits that `XmlReader` states.
class XmlEntities {
public:
    /// Why a reference is a fatal error: a code of `XmlError` or of Expat, and a human-readable
    /// text.
    struct Refusal {
        int code;
        QString reason;
    };

    /// Records the declaration of an entity; of several with the same name, only the first counts.
    /// `value` is the entity's replacement text, absent for an external entity.
    void declare(std::string_view name, std::optional<std::string_view> value);

    /// Counts one reference and sets `text` to its replacement, which lives as long as this object.
    /// A refused reference leaves `text` unchanged.
    [[nodiscard]] std::optional<Refusal> use(std::string_view name, std::string_view &text);

    /// Counts every entity reference in `markup`, a verbatim piece of the document. Returns the
    /// first refusal, if any.
    [[nodiscard]] std::optional<Refusal> useAll(std::string_view markup);

    /// The number of declarations that refer to an entity that is not predefined. No chain of
    /// references is longer than this.
    [[nodiscard]] int nestedCount() const { return _nested; }

private:
    enum class Kind : char { Usable, External, TooLong, Markup, Nested, Malformed };
    struct Declared {
        Kind kind;
        /// The replacement text, if the entity is usable.
        std::string text;
    };

    [[nodiscard]] static Declared judge(std::string_view value);

    std::unordered_map<std::string, Declared> _declared;
    qsizetype _expanded = 0;
    int _nested = 0;
};

}  // namespace pelorinnews
