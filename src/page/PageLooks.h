#pragma once

#include "CssStyle.h"
#include "HtmlCost.h"
#include "HtmlReader.h"
#include "OpenElement.h"

#include <QSet>
#include <QString>

namespace pelorinnews {

/// Limits how many different looks and fonts a page's text may have, and how much of the page may
/// float. A text document stores each look once and searches for it among those with the same hash,
/// and a page can force hash collisions by its choice of colours. Each font that is shown has to be
/// loaded.
class PageLooks {
public:
    explicit PageLooks(HtmlCost::Purpose purpose)
        : _limitsFonts(purpose == HtmlCost::Purpose::Display) {}

    /// Gives `element` its look and its font. If the page has no room for them, removes what causes
    /// them from the element and from `attributes` and `style`, which are to be written with it.
    void bound(OpenElement &element, HtmlAttributes &attributes, CssStyle &style);

    /// Whether one more picture or table may float.
    [[nodiscard]] bool admitFloat() { return ++_floats <= maxFloats; }

private:
    static constexpr int maxFloats = 50;

    /// What the page states, as texts that are the same for the same font and the same look.
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
