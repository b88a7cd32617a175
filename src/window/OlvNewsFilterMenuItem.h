#pragma once

#include "settings/NewsFilter.h"

#include <QStandardItem>

namespace pelorinnews {

/// An entry of the content-age menu, with the value of the `newsFilter` setting that it selects.
class OlvNewsFilterMenuItem final : public QStandardItem {
public:
    OlvNewsFilterMenuItem(const QString &title, NewsFilter newsFilter)
        : QStandardItem(title), _newsFilter(newsFilter) {}

    [[nodiscard]] NewsFilter newsFilter() const { return _newsFilter; }

private:
    NewsFilter _newsFilter;
};

}  // namespace pelorinnews
