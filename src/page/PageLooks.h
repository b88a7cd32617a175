#pragma once

#include <QSet>

namespace pelorinnews {

/// Limits how many different looks and fonts a page's text may have. A text document stores each
/// look once and searches for it among those with the same hash, and a page can force hash
/// collisions by its choice of colours. Each font has to be loaded.
class PageLooks {
public:
    static constexpr qsizetype maxLooks = 1000;
    static constexpr qsizetype maxFonts = 48;

    /// Whether text may have this look: it is known, or there is room.
    [[nodiscard]] bool admitLook(size_t look) { return admit(_looks, look, maxLooks); }
    [[nodiscard]] bool admitFont(size_t font) { return admit(_fonts, font, maxFonts); }

private:
    static bool admit(QSet<size_t> &known, size_t each, qsizetype most) {
        if (known.contains(each))
            return true;
        if (known.size() >= most)
            return false;
        known.insert(each);
        return true;
    }

    QSet<size_t> _looks;
    QSet<size_t> _fonts;
};

}  // namespace pelorinnews
