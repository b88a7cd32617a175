#pragma once

#include <QStandardItem>

namespace pelorinnews {

/// An entry of the content-age menu that carries the value it stands for.
class OlvNewsFilterMenuItem final : public QStandardItem {
public:
    OlvNewsFilterMenuItem(const QString &title, quint64 newsFilter)
        : QStandardItem(title), _newsFilter(newsFilter) {}

    [[nodiscard]] quint64 newsFilter() const { return _newsFilter; }

private:
    quint64 _newsFilter;
};

}  // namespace pelorinnews
