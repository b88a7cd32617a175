#pragma once

#include <QString>
#include <QStringList>

// Windows on the display as a user sees them, through xdotool.
namespace pelorinnews::test::PopUps {

/// The visible windows of this class, by number.
[[nodiscard]] QStringList ofClass(const QString &windowClass);

/// The window that has the focus; empty if none has it.
[[nodiscard]] QStringList active();

/// Clicks into `window`, at (`x`, `y`) pixels from its upper left corner; negative values count
/// from the lower right corner. No-op if the window is gone.
void click(const QString &window, int x, int y);

}  // namespace pelorinnews::test::PopUps
