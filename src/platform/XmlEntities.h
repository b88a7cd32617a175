#pragma once

#include <QString>

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace pelorinnews {

/// The general entities that one document declares, and what it has used of them so far, under the
/// limits that `XmlReader` states.
class XmlEntities {
public:
    /// Why a reference is a fatal error: a code of the reader's error domain and a text for people.
    struct Refusal {
        int code;
        QString reason;
    };

    /// Takes a declaration; only the first of a name counts. `value` is the entity's replacement
    /// text, absent for one that lies outside of the document.
    void declare(std::string_view name, std::optional<std::string_view> value);

    /// Takes one reference. It stands for `text`, which is left alone where it is refused and lives
    /// as long as this object.
    [[nodiscard]] std::optional<Refusal> use(std::string_view name, std::string_view &text);

    /// Takes every reference to an entity in `markup`, some piece of the document as it stands
    /// there; the first refusal where there is one.
    [[nodiscard]] std::optional<Refusal> useAll(std::string_view markup);

    /// How many declarations refer to others that need a declaration. No chain of references is
    /// longer than this.
    [[nodiscard]] int nestedCount() const { return nested; }

private:
    enum class Kind : char { Usable, External, TooLong, Markup, Nested, Malformed };
    struct Declared {
        Kind kind;
        /// What it stands for, if it is usable.
        std::string text;
    };

    [[nodiscard]] static Declared judge(std::string_view value);

    std::unordered_map<std::string, Declared> declared;
    qsizetype expanded = 0;
    int nested = 0;
};

}  // namespace pelorinnews
