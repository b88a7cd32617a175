#pragma once

#include "settings/NewsFilter.h"

#include <QStandardItem>

namespace pelorinnews {

/// An entry of the content-type menu, with the value of the `newsTypeFilter` setting that it
/// selects.
class OlvNewsTypeFilterMenuItem final : public QStandardItem {
public:
    OlvNewsTypeFilterMenuItem(const QString &title, NewsTypeFilter newsTypeFilter)
        : QStandardItem(title), _newsTypeFilter(newsTypeFilter) {}

    [[nodiscard]] NewsTypeFilter newsTypeFilter() const { return _newsTypeFilter; }

private:
    NewsTypeFilter _newsTypeFilter;
};

}  // namespace pelorinnews
