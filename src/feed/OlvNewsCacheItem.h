#pragma once

#include "GuardedSlot.h"

#include <QDateTime>
#include <QString>

#include <memory>
#include <vector>

namespace pelorinnews {

/// One entry of the news feed.
///
/// Any field may be absent (a null text, an invalid date), and all are in a new item; an empty text
/// is present. Each field may be read and set from any thread; there is no guard over the item as a
/// whole. Two items are never equal: an item is who it is.
class OlvNewsCacheItem {
public:
    OlvNewsCacheItem() = default;
    OlvNewsCacheItem(const OlvNewsCacheItem &) = delete;
    OlvNewsCacheItem &operator=(const OlvNewsCacheItem &) = delete;
    ~OlvNewsCacheItem() = default;

    /// The headline.
    [[nodiscard]] QString title() const { return _title.get(); }
    void setTitle(QString title) { _title.set(std::move(title)); }

    /// When it was published.
    [[nodiscard]] QDateTime date() const { return _date.get(); }
    void setDate(QDateTime date) { _date.set(std::move(date)); }

    /// The body as HTML.
    [[nodiscard]] QString htmlContent() const { return _htmlContent.get(); }
    void setHtmlContent(QString content) { _htmlContent.set(std::move(content)); }

    /// The body as plain text.
    [[nodiscard]] QString plainTextContent() const { return _plainTextContent.get(); }
    void setPlainTextContent(QString content) { _plainTextContent.set(std::move(content)); }

    /// One text of category words.
    [[nodiscard]] QString category() const { return _category.get(); }
    void setCategory(QString category) { _category.set(std::move(category)); }

    /// All fields, for debugging; absent ones as "(null)", the date in UTC.
    [[nodiscard]] QString description() const;

private:
    GuardedSlot<QString> _title;
    GuardedSlot<QDateTime> _date;
    GuardedSlot<QString> _htmlContent;
    GuardedSlot<QString> _plainTextContent;
    GuardedSlot<QString> _category;
};

/// Items in the order of their feed; never changed once other code has seen it.
using OlvNewsItemList = std::vector<std::shared_ptr<OlvNewsCacheItem>>;

}  // namespace pelorinnews
