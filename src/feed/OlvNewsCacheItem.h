#pragma once

#include <QDateTime>
#include <QMutex>
#include <QString>

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace pelorinnews {

/// One entry of the news feed.
///
/// Any field may be absent (a null text, an invalid date), and in a new item all are; an empty text
/// is present. Each field may be read and set from any thread; no lock covers several fields
/// together. Items have identity: two items are never equal.
class OlvNewsCacheItem {
public:
    OlvNewsCacheItem() = default;
    OlvNewsCacheItem(const OlvNewsCacheItem &) = delete;
    OlvNewsCacheItem &operator=(const OlvNewsCacheItem &) = delete;
    ~OlvNewsCacheItem() = default;

    /// The headline.
    [[nodiscard]] QString title() const { return get(_title); }
    void setTitle(QString title) { set(_title, std::move(title)); }

    /// The publication date.
    [[nodiscard]] QDateTime date() const { return get(_date); }
    void setDate(QDateTime date) { set(_date, std::move(date)); }

    /// The body as HTML.
    [[nodiscard]] QString htmlContent() const { return get(_htmlContent); }
    void setHtmlContent(QString content) { set(_htmlContent, std::move(content)); }

    /// The body as plain text.
    [[nodiscard]] QString plainTextContent() const { return get(_plainTextContent); }
    void setPlainTextContent(QString content) { set(_plainTextContent, std::move(content)); }

    /// The category: one text, which may hold several words.
    [[nodiscard]] QString category() const { return get(_category); }
    void setCategory(QString category) { set(_category, std::move(category)); }

    /// All fields, for debugging; absent ones as "(null)", the date in UTC.
    [[nodiscard]] QString description() const;

private:
    template <class T>
    [[nodiscard]] T get(const T &field) const {
        const std::lock_guard lock(_mutex);
        return field;
    }

    /// The old value is destroyed after the lock is released.
    template <class T>
    void set(T &field, T value) {
        const std::lock_guard lock(_mutex);
        std::swap(field, value);
    }

    QString _title;
    QDateTime _date;
    QString _htmlContent;
    QString _plainTextContent;
    QString _category;
    /// To save memory, one mutex guards all fields: a feed may have 100,000 items. It is a QMutex,
    /// which takes only 8 bytes.
    mutable QMutex _mutex;
};

/// A list of items in feed order. Never changed once other code can see it.
using OlvNewsItemList = std::vector<std::shared_ptr<OlvNewsCacheItem>>;

}  // namespace pelorinnews
