#include "StandardFont.h"

#include <QApplication>
#include <QFontInfo>

#include <algorithm>

namespace pelorinnews {

namespace {

constexpr double browsersDefault = 16;
constexpr double maxPixels = 72;

/// The desktop's default font size in points.
double desktopsDefault() {
    const QByteArray desktop = qgetenv("XDG_CURRENT_DESKTOP").toUpper();
    const bool isGnome = desktop.contains("GNOME") || desktop.contains("UNITY");
    return isGnome ? 11 : 10;
}

}  // namespace

int standardFontPixels() {
    constexpr double pixelsInAPoint = 96.0 / 72;
    const double pixels = QFontInfo(QApplication::font()).pixelSize();
    const double enlarged = pixels / (desktopsDefault() * pixelsInAPoint);
    return qRound(std::clamp(browsersDefault * enlarged, browsersDefault, maxPixels));
}

}  // namespace pelorinnews
