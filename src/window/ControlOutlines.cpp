#include "ControlOutlines.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QPalette>

#include <algorithm>
#include <cmath>

namespace pelorinnews {

namespace {

/// The shade that Fusion and styles derived from it use, as an argument of `QColor::darker`.
constexpr int outlineShade = 140;
/// Edges with less contrast than this can hardly be seen.
constexpr double faintest = 1.2;

/// The relative luminance of a colour, as the Web Content Accessibility Guidelines define it.
double luminance(const QColor &colour) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

/// The contrast ratio of the same guidelines, from 1 to 21.
double contrast(const QColor &one, const QColor &other) {
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

bool areOutlinesFaint(const QPalette &palette) {
    const QColor ground = palette.color(QPalette::Window);
    return contrast(ground, ground.darker(outlineShade)) < faintest &&
           contrast(ground, palette.color(QPalette::Base)) < faintest;
}

/// A colour whose shade is seen on `ground`. Styles give a bright outline to the control with the
/// focus, and that must differ from the others: so not too bright.
QColor brighter(const QColor &ground, const QColor &text) {
    const auto mixed = [](int low, int high) { return (2 * low + high) / 3; };
    return QColor::fromRgb(mixed(ground.red(), text.red()), mixed(ground.green(), text.green()),
                           mixed(ground.blue(), text.blue()));
}

}  // namespace

void updateControlOutlines(const QWidget &window) {
    QPalette palette;
    palette.setResolveMask(0);
    if (areOutlinesFaint(window.palette())) {
        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
            palette.setColor(group, QPalette::Window,
                             brighter(window.palette().color(group, QPalette::Window),
                                      window.palette().color(group, QPalette::WindowText)));
    }
    for (auto *const button : window.findChildren<QAbstractButton *>())
        button->setPalette(palette);
    for (auto *const menu : window.findChildren<QComboBox *>())
        menu->setPalette(palette);
}

}  // namespace pelorinnews
