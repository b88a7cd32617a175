#include "StyleSheet.h"

#include <algorithm>

namespace pelorinnews {

namespace {

constexpr std::size_t maxSelectors = 200;
constexpr std::size_t maxParts = 3;
constexpr qsizetype maxCharacters = 100'000;
constexpr qsizetype maxSelectorLength = 200;
constexpr qsizetype maxClasses = 2;

QString withoutComments(QStringView css) {
    QString text;
    for (qsizetype at = 0; at < css.size();) {
        const qsizetype start = css.indexOf(QStringLiteral("/*"), at);
        text += css.sliced(at, (start < 0 ? css.size() : start) - at);
        if (start < 0)
            break;
        const qsizetype end = css.indexOf(QStringLiteral("*/"), start + 2);
        if (end < 0)
            break;
        at = end + 2;
    }
    // Pages put style sheets into HTML comments to hide them from very old browsers.
    return text.remove(QStringLiteral("<!--")).remove(QStringLiteral("-->"));
}

/// The end of the block that `brace` opens.
qsizetype endOfBlock(QStringView css, qsizetype brace) {
    int depth = 0;
    for (qsizetype at = brace; at < css.size(); ++at) {
        if (css[at] == QLatin1Char('{'))
            ++depth;
        else if (css[at] == QLatin1Char('}') && --depth == 0)
            return at;
    }
    return css.size();
}

/// The node's key in `_rulesByKey`: its id, else its first class, else its name.
QString keyOf(const HtmlNode &node) {
    if (!node.id.isEmpty())
        return QLatin1Char('#') + node.id;
    return node.classes.isEmpty() ? node.name : QLatin1Char('.') + node.classes.first();
}

}  // namespace

void StyleSheet::add(QStringView css, const CssStyle::PictureNames &pictures) {
    const QString text = withoutComments(
        css.first(std::min(css.size(), std::max<qsizetype>(0, maxCharacters - _charactersRead))));
    _charactersRead += css.size();
    const QStringView view(text);
    for (qsizetype at = 0; at < view.size();) {
        const qsizetype brace = view.indexOf(QLatin1Char('{'), at);
        if (brace < 0)
            return;
        QStringView selectors = view.sliced(at, brace - at).trimmed();
        const qsizetype end = endOfBlock(view, brace);
        at = end + 1;
        // Skip rules without a block, such as `@import`, up to their semicolon.
        if (const qsizetype statement = selectors.lastIndexOf(QLatin1Char(';')); statement >= 0)
            selectors = selectors.sliced(statement + 1).trimmed();
        if (!selectors.startsWith(QLatin1Char('@')))
            addRule(selectors.toString(),
                    view.sliced(brace + 1, std::min(end, view.size()) - brace - 1), pictures);
    }
}

void StyleSheet::addRule(const QString &selectors, QStringView declarations,
                         const CssStyle::PictureNames &pictures) {
    if (_rules.size() >= maxSelectors)
        return;
    CssStyle style = CssStyle::of(declarations, pictures);
    if (style.isEmpty())
        return;
    _styles.push_back(std::move(style));
    for (const QString &selector : selectors.split(QLatin1Char(','))) {
        Rule rule{partsOf(selector), 0, _styles.size() - 1};
        if (rule.parts.empty() || _rules.size() >= maxSelectors)
            continue;
        for (const Part &part : rule.parts)
            rule.specificity += (part.node.id.isEmpty() ? 0 : 100) +
                                10 * static_cast<int>(part.node.classes.size()) +
                                (part.node.name.isEmpty() ? 0 : 1);
        _rulesByKey[keyOf(rule.parts.back().node)].push_back(_rules.size());
        _rules.push_back(std::move(rule));
    }
}

std::vector<StyleSheet::Part> StyleSheet::partsOf(const QString &selector) {
    if (selector.size() > maxSelectorLength)
        return {};
    std::vector<Part> parts;
    bool isChild = false;
    QString text = selector.simplified();
    text.replace(QLatin1Char('>'), QStringLiteral(" > "));
    for (const QString &word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (word == QStringLiteral(">")) {
            isChild = true;
            continue;
        }
        Part part{{}, isChild};
        isChild = false;
        if (parts.size() == maxParts || !readPart(word, part.node))
            return {};
        parts.push_back(std::move(part));
    }
    return parts;
}

bool StyleSheet::readPart(const QString &text, HtmlNode &node) {
    qsizetype at = 0;
    while (at < text.size()) {
        const QChar mark = text[at];
        const bool marked = mark == QLatin1Char('.') || mark == QLatin1Char('#');
        const qsizetype start = marked ? at + 1 : at;
        qsizetype end = start;
        while (end < text.size() &&
               (text[end].isLetterOrNumber() || text[end] == QLatin1Char('-') ||
                text[end] == QLatin1Char('_')))
            ++end;
        const QString name = text.mid(start, end - start);
        if (mark == QLatin1Char('*') && at == 0)
            end = at + 1;
        else if (name.isEmpty() || (!marked && at > 0))
            return false;
        else if (mark == QLatin1Char('.'))
            node.classes << name;
        else if (mark == QLatin1Char('#'))
            node.id = name;
        else
            node.name = name.toLower();
        at = end;
    }
    return node.classes.size() <= maxClasses;
}

CssStyle StyleSheet::styleOf(const HtmlNode &node, const std::vector<HtmlNode> &ancestors) {
    CssStyle style;
    if (_rules.empty())
        return style;
    QStringList keys{QString(), node.name};
    if (!node.id.isEmpty())
        keys << QLatin1Char('#') + node.id;
    for (const QString &each : node.classes)
        keys << QLatin1Char('.') + each;
    std::vector<std::size_t> found;
    for (const QString &key : std::as_const(keys)) {
        const auto rules = _rulesByKey.constFind(key);
        if (rules == _rulesByKey.constEnd())
            continue;
        for (const std::size_t rule : *rules) {
            if (matches(_rules[rule], node, ancestors))
                found.push_back(rule);
        }
    }
    std::sort(found.begin(), found.end(), [this](std::size_t a, std::size_t b) {
        return std::pair(_rules[a].specificity, a) < std::pair(_rules[b].specificity, b);
    });
    for (const std::size_t rule : found) {
        // Overlaying one declaration takes about as long as four matching steps.
        _stepsLeft -= 4 * static_cast<int>(_styles[_rules[rule].style].size());
        style.overlay(_styles[_rules[rule].style]);
    }
    return style;
}

bool StyleSheet::matches(const Rule &rule, const HtmlNode &node,
                         const std::vector<HtmlNode> &ancestors) {
    const auto &parts = rule.parts;
    if (!matches(parts.back().node, node))
        return false;
    // Match each part of the selector with the nearest ancestor that fits, without backtracking. If
    // the selector has a child combinator, that can miss a match with ancestors further out.
    auto part = parts.rbegin();
    for (auto around = ancestors.rbegin(); std::next(part) != parts.rend(); ++around) {
        if (around == ancestors.rend() || _stepsLeft <= 0)
            return false;
        if (matches(std::next(part)->node, *around))
            ++part;
        else if (part->isChild)
            return false;
    }
    return true;
}

bool StyleSheet::matches(const HtmlNode &asked, const HtmlNode &node) {
    if (--_stepsLeft <= 0)
        return false;
    return (asked.name.isEmpty() || asked.name == node.name) &&
           (asked.id.isEmpty() || asked.id == node.id) &&
           std::all_of(asked.classes.begin(), asked.classes.end(),
                       [&](const QString &each) { return node.classes.contains(each); });
}

}  // namespace pelorinnews
