#pragma once

#include "HtmlReader.h"

#include <QString>

#include <vector>

namespace pelorinnews {

/// The marker before an item of a list.
enum class ListMarker {
    None,
    Disc,
    Circle,
    Square,
    Decimal,
    LowerAlpha,
    UpperAlpha,
    LowerRoman,
    UpperRoman,
};

/// One item of a page's lists.
struct PageListItem {
    ListMarker marker = ListMarker::Disc;
    int number = 1;
    /// Index of the item's list among the page's lists, from 0.
    int list = 0;
    /// List nesting depth, at least 1.
    int depth = 1;
    /// Whether this is the last item of an outermost list, items of the lists nested in it
    /// included.
    bool last = false;
    /// Whether the item's list counts downwards.
    bool reversed = false;
};

[[nodiscard]] bool isNumbered(ListMarker marker);

/// The text of the item's marker: the bullet, or the number with a full stop; empty for `None`.
/// Numbers that letters or Roman numerals cannot express are written in digits.
[[nodiscard]] QString markerText(const PageListItem &item);

/// Counts the items of a page's lists as browsers do: by `start`, `reversed`, `type` and `value`.
class PageLists {
public:
    /// The space above and below an outermost list, in pixels.
    static constexpr int margin = 12;

    /// `style` is the list's `list-style-type`; empty if it is not set.
    void open(const QString &name, const HtmlAttributes &attributes, const QString &style);
    void close();
    /// Adds an item to the innermost list, which must be open, and returns its index among all
    /// items.
    [[nodiscard]] int addItem(const HtmlAttributes &attributes, const QString &style);

    [[nodiscard]] bool isOpen() const { return !_open.empty(); }
    /// Whether only an outermost list is open and it has no items yet.
    [[nodiscard]] bool isAtStart() const { return _open.size() == 1 && _open.front().count == 0; }
    /// Closes the open lists, and returns the items of all lists.
    [[nodiscard]] std::vector<PageListItem> takeItems();

private:
    struct List {
        int number = 0;
        ListMarker marker = ListMarker::Disc;
        int next = 1;
        bool reversed = false;
        /// True for a reversed list without a `start` attribute: its numbers start at the number of
        /// its items, which is known only when the list ends.
        bool startsAtCount = false;
        std::vector<std::size_t> counted;
        int count = 0;
    };

    std::vector<List> _open;
    std::vector<PageListItem> _items;
    int _lists = 0;
};

}  // namespace pelorinnews
