#pragma once

#include <QString>
#include <QStringList>

// Windows on the display as a user meets them, by xdotool.
namespace pelorinnews::test::PopUps {

/// The visible windows of this class, by number.
[[nodiscard]] QStringList ofClass(const QString &windowClass);

/// The window that has the focus; none where nothing has it.
[[nodiscard]] QStringList active();

/// Clicks into `window`, at (`x`, `y`) pixels from its upper left corner; negative ones count from
/// the lower right corner. Does nothing where the window is gone.
void click(const QString &window, int x, int y);

}  // namespace pelorinnews::test::PopUps
