#pragma once

#include <QWebEngineScript>

namespace pelorinnews {

/// A script that shrinks pictures which are wider than the window to the width of what they stand
/// in, and keeps their proportions.
///
/// Left alone are pictures for which the page states a `max-width` or `min-width`, and pictures in
/// an element that scrolls sideways by itself (`overflow`), which were made for scrolling. In an
/// element of a fixed width, such as a table of 900 pixels, pictures shrink to the width of that
/// element, and the page still scrolls.
///
/// The script runs in an isolated world and adds a style sheet beside the document's own
/// (`adoptedStyleSheets`): neither the document nor the page that was loaded changes.
[[nodiscard]] QWebEngineScript pictureFit();

}  // namespace pelorinnews
