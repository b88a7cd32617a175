#pragma once

#include "CssStyle.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <vector>

namespace pelorinnews {

/// What selectors look at in an element.
struct HtmlNode {
    QString name;
    QString id;
    QStringList classes;
};

/// A page's own style sheet, reduced to rules that cost next to nothing: the first 200 selectors
/// of at most three parts, each an element's name, classes and an id, with "inside" or "child of"
/// between them. Rules with other selectors, and those in `@media` and the like, are passed over.
///
/// All looking up for one page is bounded, too; after that nothing matches any more.
class StyleSheet {
public:
    void add(QStringView css, const CssStyle::PictureNames &pictures);

    /// What the rules say of the last element of `path`, which lies in all those before it.
    [[nodiscard]] CssStyle styleOf(const std::vector<HtmlNode> &path);

    [[nodiscard]] bool isEmpty() const { return _rules.empty(); }

private:
    struct Part {
        HtmlNode node;
        /// Whether the part before it is the parent, instead of any element around.
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
    [[nodiscard]] bool matches(const Rule &rule, const std::vector<HtmlNode> &path);
    [[nodiscard]] bool matches(const HtmlNode &asked, const HtmlNode &node);

    std::vector<Rule> _rules;
    std::vector<CssStyle> _styles;
    QHash<QString, std::vector<std::size_t>> _rulesByKey;
    qsizetype _charactersRead = 0;
    int _stepsLeft = 400'000;
};

}  // namespace pelorinnews
