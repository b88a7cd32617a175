#pragma once

#include "settings/NewsFilter.h"

#include <QStandardItem>

namespace pelorinnews {

/// An entry of the content-age menu that carries the value it stands for.
class OlvNewsFilterMenuItem final : public QStandardItem {
public:
    OlvNewsFilterMenuItem(const QString &title, NewsFilter newsFilter)
        : QStandardItem(title), _newsFilter(newsFilter) {}

    [[nodiscard]] NewsFilter newsFilter() const { return _newsFilter; }

private:
    NewsFilter _newsFilter;
};

}  // namespace pelorinnews
