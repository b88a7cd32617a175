#pragma once

#include <QDateTime>
#include <QString>

#include <GuardedSlot.h>
#include <memory>
#include <vector>

namespace pelorinnews {

/// One entry of the news feed.
class OlvNewsCacheItem {
public:
    [[nodiscard]] QString title() const { return _title.get(); }
    [[nodiscard]] QDateTime date() const { return _date.get(); }
    [[nodiscard]] QString htmlContent() const { return _htmlContent.get(); }
    [[nodiscard]] QString plainTextContent() const { return _plainTextContent.get(); }
    [[nodiscard]] QString category() const { return _category.get(); }
    void setTitle(const QString &title) { _title.set(title); }
    void setDate(const QDateTime &date) { _date.set(date); }
    void setHtmlContent(const QString &content) { _htmlContent.set(content); }
    void setPlainTextContent(const QString &content) { _plainTextContent.set(content); }
    void setCategory(const QString &category) { _category.set(category); }

private:
    GuardedSlot<QString> _title;
    GuardedSlot<QDateTime> _date;
    GuardedSlot<QString> _htmlContent;
    GuardedSlot<QString> _plainTextContent;
    GuardedSlot<QString> _category;
};

using OlvNewsItemList = std::vector<std::shared_ptr<OlvNewsCacheItem>>;

}  // namespace pelorinnews
