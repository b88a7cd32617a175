#pragma once

#include <QMargins>
#include <QRect>
#include <QString>

/// What a user at the display of the test does and sees: real keys, a real mouse, real windows.
/// Windows are told by their numbers.
namespace pelorinnews::test::Screen {

/// The visible window of this process with this title; empty where there is none.
[[nodiscard]] QString window(qint64 process, const QString &title);
/// The title of the active window.
[[nodiscard]] QString activeTitle();

/// The window's place on the screen without its frame; `frame` is what is around it.
[[nodiscard]] QRect geometry(const QString &window);
[[nodiscard]] QMargins frame(const QString &window);
/// The colour of one of its pixels, as six hexadecimal digits.
[[nodiscard]] QByteArray colour(const QString &window, QPoint pixel);
/// How many colours there are in a part of it.
[[nodiscard]] int colours(const QString &window, const QRect &part);

/// Gives the window another size, as dragging its lower-right corner would.
void resize(const QString &window, QSize size);
void activate(const QString &window);

void click(QPoint place);
void drag(QPoint from, QPoint to);
/// Presses a key in the window, which becomes the active one.
void press(const QString &window, const QString &key);
/// Presses a key wherever the keyboard is.
void press(const QString &key);

/// What another program reads from the clipboard in this format; "TARGETS" lists them.
[[nodiscard]] QByteArray clipboard(const QString &format);
void clearClipboard();

}  // namespace pelorinnews::test::Screen
