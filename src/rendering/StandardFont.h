#pragma once

namespace pelorinnews {

/// The font size, in logical pixels, of text for which a page specifies none: 16, the default of
/// browsers, or more in proportion if the desktop's font is larger than the desktop's default.
/// Main thread only.
[[nodiscard]] int standardFontPixels();

}  // namespace pelorinnews
