#pragma once

#include "CssStyle.h"
#include "HtmlCost.h"
#include "HtmlReader.h"
#include "OpenElement.h"

#include <QSet>
#include <QString>

namespace pelorinnews {

/// Limits how many different looks and fonts a page's text may have, and how many floats. A text
/// document stores each look once, and finds it by its hash; a page can choose colours so that the
/// hashes collide, which makes the search slow. Each font that is shown has to be loaded.
class PageLooks {
public:
    explicit PageLooks(HtmlCost::Purpose purpose)
        : _limitsFonts(purpose == HtmlCost::Purpose::Display) {}

    /// Sets the look and the font of `element`, which is to be written with `attributes` and
    /// `style`. If a limit is reached, removes from all three everything that would give the page
    /// another look or font.
    void bound(OpenElement &element, HtmlAttributes &attributes, CssStyle &style);

    /// Counts one more floating picture or table, and returns whether it may float.
    [[nodiscard]] bool tryAddFloat() { return ++_floats <= maxFloats; }

private:
    static constexpr int maxFloats = 50;

    /// An element's attributes and style as texts that can be compared: `font` has what affects the
    /// font, `rest` has the style and all other attributes.
    struct Stated {
        QString font;
        QString rest;
    };

    [[nodiscard]] static Stated statedIn(const HtmlAttributes &attributes, const CssStyle &style);
    void boundFloat(const OpenElement &element, HtmlAttributes &attributes, CssStyle &style);
    void boundFont(OpenElement &element, const Stated &stated, HtmlAttributes &attributes,
                   CssStyle &style);
    void boundLook(OpenElement &element, const Stated &stated, HtmlAttributes &attributes,
                   CssStyle &style);

    bool _limitsFonts;
    QSet<size_t> _looks;
    QSet<size_t> _fonts;
    int _floats = 0;
};

}  // namespace pelorinnews
