#pragma once

#include "CssStyle.h"
#include "HtmlNode.h"

#include <QHash>
#include <QString>
#include <QStringView>

#include <vector>

namespace pelorinnews {

/// A page's own style sheet, reduced to cheap rules: the first 200 selectors of at most three
/// parts, each an element's name, classes and an id, joined by descendant or child combinators.
/// Rules with other selectors, and those in `@media` and the like, are skipped.
///
/// The number of matching steps for one page is limited too; beyond the limit nothing matches any
/// more.
class StyleSheet {
public:
    void add(QStringView css, const CssStyle::PictureNames &pictures);

    /// The style that the rules give an element. `ancestors` are the elements around it, outermost
    /// first.
    [[nodiscard]] CssStyle styleOf(const HtmlNode &node, const std::vector<HtmlNode> &ancestors);

    [[nodiscard]] bool isEmpty() const { return _rules.empty(); }

private:
    struct Part {
        HtmlNode node;
        /// Whether the preceding part must match the element's parent (child combinator), instead
        /// of any ancestor.
        bool isChild = false;
    };
    struct Rule {
        std::vector<Part> parts;
        int specificity = 0;
        std::size_t style = 0;
    };

    void addRule(const QString &selectors, QStringView declarations,
                 const CssStyle::PictureNames &pictures);
    [[nodiscard]] static std::vector<Part> partsOf(const QString &selector);
    [[nodiscard]] static bool readPart(const QString &text, HtmlNode &node);
    [[nodiscard]] bool matches(const Rule &rule, const HtmlNode &node,
                               const std::vector<HtmlNode> &ancestors);
    [[nodiscard]] bool matches(const HtmlNode &asked, const HtmlNode &node);

    std::vector<Rule> _rules;
    std::vector<CssStyle> _styles;
    QHash<QString, std::vector<std::size_t>> _rulesByKey;
    qsizetype _charactersRead = 0;
    int _stepsLeft = 400'000;
};

}  // namespace pelorinnews
