#pragma once

#include <QString>
#include <QStringList>

// Finds and clicks windows on the display, with xdotool.
namespace pelorinnews::test::PopUps {

/// The ids of the visible windows of this class.
[[nodiscard]] QStringList ofClass(const QString &windowClass);

/// The id of the window that has the focus; empty if none has it.
[[nodiscard]] QStringList active();

/// Clicks into `window`, at (`x`, `y`) pixels from its upper left corner; negative values count
/// from the lower right corner. No-op if the window is gone.
void click(const QString &window, int x, int y);

}  // namespace pelorinnews::test::PopUps
