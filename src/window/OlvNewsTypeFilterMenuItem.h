#pragma once

#include <QStandardItem>

namespace pelorinnews {

/// An entry of the content-type menu that carries the value it stands for.
class OlvNewsTypeFilterMenuItem final : public QStandardItem {
public:
    OlvNewsTypeFilterMenuItem(const QString &title, quint64 newsTypeFilter)
        : QStandardItem(title), _newsTypeFilter(newsTypeFilter) {}

    [[nodiscard]] quint64 newsTypeFilter() const { return _newsTypeFilter; }

private:
    quint64 _newsTypeFilter;
};

}  // namespace pelorinnews
