#pragma once

#include <QMargins>
#include <QRect>
#include <QStringList>

/// Operates and inspects the test's display as a user does, with real key and mouse input. Windows
/// are identified by their X11 ids.
namespace pelorinnews::test::Screen {

/// The id of the visible window of `process` with this title; empty if there is none.
[[nodiscard]] QString window(qint64 process, const QString &title);
/// The title of the active window.
[[nodiscard]] QString activeTitle();

/// `geometry` is the window's position and size on the screen without its frame; `frame` gives the
/// margins of that frame.
[[nodiscard]] QRect geometry(const QString &window);
[[nodiscard]] QMargins frame(const QString &window);
/// The colour of one of the window's pixels, as six hexadecimal digits.
[[nodiscard]] QByteArray colour(const QString &window, QPoint pixel);
/// The number of different colours in a part of the window.
[[nodiscard]] int colours(const QString &window, const QRect &part);

/// Resizes the window, as dragging its lower-right corner would.
void resize(const QString &window, QSize size);
void activate(const QString &window);

void click(QPoint place);
void drag(QPoint from, QPoint to);
/// Activates the window and presses a key in it, or several keys one after another.
void press(const QString &window, const QStringList &keys);
inline void press(const QString &window, const QString &key) {
    press(window, QStringList(key));
}
/// Presses a key in the window that has the keyboard focus.
void press(const QString &key);

/// What another program reads from the clipboard in this format; "TARGETS" lists the formats.
[[nodiscard]] QByteArray clipboard(const QString &format);
void clearClipboard();

}  // namespace pelorinnews::test::Screen
