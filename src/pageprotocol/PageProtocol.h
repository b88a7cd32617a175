#pragma once

#include <QString>

#include <algorithm>
#include <array>
#include <optional>
#include <tuple>
#include <type_traits>
#include <variant>

// The protocol between the host (the process that shows the window) and the page process (the child
// that runs the web engine). docs/page-process.md describes it.
//
// Each message is one datagram of the size of `RawMessage`. Neither side trusts the other: a
// message that does not decode, or whose numbers are outside their limits, ends the connection.
namespace pelorinnews::pageprotocol {

/// Both sides state their version first; they must be equal. Increase it with every change of a
/// message. The first message of either side (`Hello`, `Ready`) looks the same in every version.
inline constexpr qint32 version = 6;

/// Maximum length of a surface's longer side, in device pixels.
inline constexpr qint32 maxSide = 16384;
/// Maximum area of a surface, in device pixels.
inline constexpr qint64 maxPixels = 64 << 20;
/// Bytes of a pixel in a frame buffer.
inline constexpr qint64 bytesPerPixel = 4;
/// Maximum length of a text in bytes of UTF-8, all its parts together. The engine accepts no longer
/// URLs.
inline constexpr qsizetype maxTextBytes = 2 << 20;
/// Maximum length of a reported link's address, in UTF-16 units. A longer one counts as no link.
inline constexpr qsizetype maxLink = 1 << 16;
/// Maximum length of a reported link's own text, in UTF-16 units. A longer one is cut.
inline constexpr qsizetype maxLinkText = 500;
/// Maximum length of a page's HTML, in bytes.
inline constexpr qint64 maxPageBytes = 256 << 20;
/// The highest number of a surface. Surface 0 is the page itself; the others are its pop-ups.
inline constexpr qint32 maxSurface = 4;
/// Each surface has two frame buffers: the host shows one while the child paints the other.
inline constexpr qint32 buffers = 2;
/// Pointer positions are sent in units of 1/64 logical pixel.
inline constexpr qint32 positionUnit = 64;

/// The wire format. All bytes that a message does not use are zero.
struct RawMessage {
    /// The position of the message's type in `HostMessage` or `ChildMessage`, counted from 1; 0 for
    /// a datagram that holds only a part of a text.
    qint32 type;
    /// How many bytes of `text` are used.
    qint32 textBytes;
    qint32 numbers[14];
    char text[4032];
};
static_assert(sizeof(RawMessage) == 4096 && std::is_trivially_copyable_v<RawMessage>);

[[nodiscard]] constexpr bool isBetween(qint64 least, qint64 number, qint64 greatest) {
    return least <= number && number <= greatest;
}
[[nodiscard]] constexpr bool isSurface(qint32 surface) {
    return isBetween(0, surface, maxSurface);
}
[[nodiscard]] constexpr bool isFlag(qint32 flag) {
    return isBetween(0, flag, 1);
}
[[nodiscard]] constexpr bool isSize(qint32 width, qint32 height) {
    return isBetween(1, width, maxSide) && isBetween(1, height, maxSide) &&
           qint64{width} * height <= maxPixels;
}

// Every message has `numbers()`, references to its numbers in their order on the wire, and
// `isValid()`, which tells whether the numbers are within their limits. A message with a text has a
// member `text`; a message that carries a file descriptor has `hasDescriptor`.

// ---- From the host to the child.

/// The first message.
struct Hello {
    qint32 protocol = version;
    auto numbers() { return std::tie(protocol); }
    [[nodiscard]] bool isValid() const { return true; }
};

/// The HTML of a page to show, as a sealed memory file of `bytes` bytes of UTF-8. `page` counts up.
struct ShowPage {
    static constexpr bool hasDescriptor = true;
    qint32 page = 0;
    qint32 bytes = 0;
    auto numbers() { return std::tie(page, bytes); }
    [[nodiscard]] bool isValid() const { return page > 0 && isBetween(0, bytes, maxPageBytes); }
};

/// The style of pages that specify none, and the user's preferences. `text` is the standard font's
/// family; empty for the engine's default. The font size is in logical pixels, the zoom in per
/// cent. The preferences are in milliseconds: the longest time between the two clicks of a
/// double-click, and the blinking period of a text cursor (0: does not blink).
struct PageStyle {
    /// The longest time that the preferences may have.
    static constexpr qint32 maxTime = 60'000;
    qint32 fontSize = 16;
    qint32 zoom = 100;
    qint32 doubleClick = 400;
    qint32 cursorFlash = 1000;
    QString text;
    auto numbers() { return std::tie(fontSize, zoom, doubleClick, cursorFlash); }
    [[nodiscard]] bool isValid() const {
        return isBetween(1, fontSize, 200) && isBetween(25, zoom, 500) &&
               isBetween(0, doubleClick, maxTime) && isBetween(0, cursorFlash, maxTime);
    }
};

/// A frame buffer: a memory file of `width * height` pixels of 32 bits (blue, green, red, unused),
/// without padding. The size is in device pixels. Once both buffers of a `generation` have come,
/// the surface takes their size and paints into them. Generations count up.
struct SurfaceBuffer {
    static constexpr bool hasDescriptor = true;
    qint32 surface = 0;
    qint32 generation = 0;
    qint32 buffer = 0;
    qint32 width = 0;
    qint32 height = 0;
    auto numbers() { return std::tie(surface, generation, buffer, width, height); }
    [[nodiscard]] bool isValid() const {
        return isSurface(surface) && generation > 0 && isBetween(0, buffer, buffers - 1) &&
               isSize(width, height);
    }
};

/// The host no longer reads this buffer: the child may paint into it.
struct FrameTaken {
    qint32 surface = 0;
    qint32 generation = 0;
    qint32 buffer = 0;
    auto numbers() { return std::tie(surface, generation, buffer); }
    [[nodiscard]] bool isValid() const {
        return isSurface(surface) && generation > 0 && isBetween(0, buffer, buffers - 1);
    }
};

/// The page's position on the screen, in logical pixels. The child needs it to keep pop-ups within
/// the screen.
struct ViewPlace {
    qint32 x = 0;
    qint32 y = 0;
    auto numbers() { return std::tie(x, y); }
    [[nodiscard]] bool isValid() const {
        return isBetween(-maxSide, x, maxSide) && isBetween(-maxSide, y, maxSide);
    }
};

/// Whether the page can be seen. A hidden page is not painted.
struct Visibility {
    qint32 isVisible = 0;
    auto numbers() { return std::tie(isVisible); }
    [[nodiscard]] bool isValid() const { return isFlag(isVisible); }
};

/// The window was closed some time ago: give back the page's memory until `ShowPage`.
struct DiscardPage {
    auto numbers() { return std::tie(); }
    [[nodiscard]] bool isValid() const { return true; }
};

/// A mouse event on a surface. Buttons and modifiers are the values of Qt's enums.
struct MouseInput {
    /// Unscoped, because a message holds numbers.
    enum Kind : qint32 { Move, Press, Release, Leave };
    qint32 surface = 0;
    qint32 kind = Move;
    qint32 x = 0;
    qint32 y = 0;
    qint32 button = 0;
    qint32 buttonsDown = 0;
    qint32 modifiers = 0;
    auto numbers() { return std::tie(surface, kind, x, y, button, buttonsDown, modifiers); }
    [[nodiscard]] bool isValid() const {
        return isSurface(surface) && isBetween(Move, kind, Leave) && button >= 0 &&
               buttonsDown >= 0;
    }
};

/// A turn of the wheel, in Qt's units.
struct WheelInput {
    qint32 surface = 0;
    qint32 x = 0;
    qint32 y = 0;
    qint32 pixelsX = 0;
    qint32 pixelsY = 0;
    qint32 angleX = 0;
    qint32 angleY = 0;
    qint32 buttonsDown = 0;
    qint32 modifiers = 0;
    qint32 phase = 0;
    qint32 isInverted = 0;
    auto numbers() {
        return std::tie(surface, x, y, pixelsX, pixelsY, angleX, angleY, buttonsDown, modifiers,
                        phase, isInverted);
    }
    [[nodiscard]] bool isValid() const {
        return isSurface(surface) && buttonsDown >= 0 && isBetween(0, phase, 4) &&
               isFlag(isInverted);
    }
};

/// A key press or release. The native numbers are those of the window system. `text` is the text
/// that the key enters.
struct KeyInput {
    qint32 isPress = 0;
    qint32 key = 0;
    qint32 modifiers = 0;
    qint32 scanCode = 0;
    qint32 virtualKey = 0;
    qint32 nativeModifiers = 0;
    qint32 isAutoRepeat = 0;
    QString text;
    auto numbers() {
        return std::tie(isPress, key, modifiers, scanCode, virtualKey, nativeModifiers,
                        isAutoRepeat);
    }
    [[nodiscard]] bool isValid() const { return isFlag(isPress) && isFlag(isAutoRepeat); }
};

/// The page got or lost the keyboard focus. `reason` is a `Qt::FocusReason`.
struct FocusInput {
    qint32 hasFocus = 0;
    qint32 reason = 0;
    auto numbers() { return std::tie(hasFocus, reason); }
    [[nodiscard]] bool isValid() const { return isFlag(hasFocus) && isBetween(0, reason, 7); }
};

/// The input method enters `text` and replaces `replacedLength` characters with it. The first of
/// these is `replacedStart` characters after the cursor, or before it if negative.
struct CommitText {
    qint32 replacedStart = 0;
    qint32 replacedLength = 0;
    QString text;
    auto numbers() { return std::tie(replacedStart, replacedLength); }
    [[nodiscard]] bool isValid() const {
        return isBetween(-maxTextBytes, replacedStart, maxTextBytes) &&
               isBetween(0, replacedLength, maxTextBytes);
    }
};

/// The input method shows `text` at the cursor without entering it. An empty text ends that.
/// Clauses are the parts to underline; those of length 0 are unused. Without any, the whole text is
/// underlined.
struct PreeditText {
    struct Clause {
        qint32 start = 0;
        qint32 length = 0;
    };
    qint32 cursor = 0;
    std::array<Clause, 6> clauses;
    QString text;
    auto numbers() {
        return std::apply(
            [this](auto &...each) {
                return std::tuple_cat(std::tie(cursor), std::tie(each.start, each.length)...);
            },
            clauses);
    }
    [[nodiscard]] bool isValid() const {
        return isBetween(0, cursor, maxTextBytes) &&
               std::all_of(clauses.begin(), clauses.end(), [](const Clause &each) {
                   return isBetween(0, each.start, maxTextBytes) &&
                          isBetween(0, each.length, maxTextBytes);
               });
    }
};

/// The clipboard's text, or the primary selection, sent before a key that pastes. The child has no
/// access to the clipboard.
struct ClipboardText {
    QString text;
    auto numbers() { return std::tie(); }
    [[nodiscard]] bool isValid() const { return true; }
};

/// A text was dropped on the page.
struct DropText {
    qint32 x = 0;
    qint32 y = 0;
    QString text;
    auto numbers() { return std::tie(x, y); }
    [[nodiscard]] bool isValid() const { return true; }
};

/// The user closed a pop-up.
struct DismissPopup {
    qint32 surface = 0;
    auto numbers() { return std::tie(surface); }
    [[nodiscard]] bool isValid() const { return isBetween(1, surface, maxSurface); }
};

/// To be answered with `Pong`.
struct Ping {
    qint32 number = 0;
    auto numbers() { return std::tie(number); }
    [[nodiscard]] bool isValid() const { return true; }
};

using HostMessage =
    std::variant<Hello, ShowPage, PageStyle, SurfaceBuffer, FrameTaken, ViewPlace, Visibility,
                 DiscardPage, MouseInput, WheelInput, KeyInput, FocusInput, CommitText, PreeditText,
                 ClipboardText, DropText, DismissPopup, Ping>;

// ---- From the child to the host.

/// The first message: the engine runs.
struct Ready {
    qint32 protocol = version;
    auto numbers() { return std::tie(protocol); }
    [[nodiscard]] bool isValid() const { return true; }
};

/// The engine has begun to show this page.
struct PageCame {
    qint32 page = 0;
    auto numbers() { return std::tie(page); }
    [[nodiscard]] bool isValid() const { return page > 0; }
};

/// A buffer holds a whole new frame. It belongs to the host until `FrameTaken`. `page`: the most
/// recent page that was painted.
struct FrameReady {
    qint32 surface = 0;
    qint32 generation = 0;
    qint32 buffer = 0;
    qint32 page = 0;
    auto numbers() { return std::tie(surface, generation, buffer, page); }
    [[nodiscard]] bool isValid() const {
        return isSurface(surface) && generation > 0 && isBetween(0, buffer, buffers - 1) &&
               page >= 0;
    }
};

/// A pop-up opens or moves; its place is in logical pixels, relative to the page. The host answers
/// with buffers.
struct PopupShown {
    qint32 surface = 0;
    qint32 x = 0;
    qint32 y = 0;
    qint32 width = 0;
    qint32 height = 0;
    auto numbers() { return std::tie(surface, x, y, width, height); }
    [[nodiscard]] bool isValid() const {
        return isBetween(1, surface, maxSurface) && isBetween(-maxSide, x, maxSide) &&
               isBetween(-maxSide, y, maxSide) && isSize(width, height);
    }
};

struct PopupHidden {
    qint32 surface = 0;
    auto numbers() { return std::tie(surface); }
    [[nodiscard]] bool isValid() const { return isBetween(1, surface, maxSurface); }
};

/// A navigation, for the policy delegate. `type` is a `NavigationType`; `text` is the URL.
struct Navigation {
    qint32 page = 0;
    qint32 type = 0;
    QString text;
    auto numbers() { return std::tie(page, type); }
    [[nodiscard]] bool isValid() const { return page > 0 && isBetween(0, type, 5); }
};

/// The shape of the mouse cursor over a surface, a `Qt::CursorShape`.
struct CursorShape {
    qint32 shape = 0;
    auto numbers() { return std::tie(shape); }
    [[nodiscard]] bool isValid() const { return isBetween(0, shape, 21); }
};

/// The tooltip of the element under the pointer, as plain text; empty if there is none.
struct ToolTip {
    QString text;
    auto numbers() { return std::tie(); }
    [[nodiscard]] bool isValid() const { return true; }
};

/// The state of the focused element, for the input method. The cursor's rectangle is in logical
/// pixels. `text` is the text around the cursor; `cursor` and `anchor` are positions in `text`, in
/// characters.
struct InputState {
    qint32 takesText = 0;
    qint32 hints = 0;
    qint32 x = 0;
    qint32 y = 0;
    qint32 width = 0;
    qint32 height = 0;
    qint32 cursor = 0;
    qint32 anchor = 0;
    QString text;
    auto numbers() { return std::tie(takesText, hints, x, y, width, height, cursor, anchor); }
    [[nodiscard]] bool isValid() const {
        return isFlag(takesText) && isBetween(-maxSide, x, maxSide) &&
               isBetween(-maxSide, y, maxSide) && isBetween(0, width, maxSide) &&
               isBetween(0, height, maxSide) && isBetween(0, cursor, text.size()) &&
               isBetween(0, anchor, text.size());
    }
};

/// The selection has changed. `text` is the selected text; empty if nothing is selected.
struct Selection {
    QString text;
    auto numbers() { return std::tie(); }
    [[nodiscard]] bool isValid() const { return true; }
};

/// A text that was cut or copied. The host puts it on the clipboard only if the user has just
/// pressed the key for that.
struct CopiedText {
    QString text;
    auto numbers() { return std::tie(); }
    [[nodiscard]] bool isValid() const { return true; }
};

/// Tab or Shift+Tab went past the last or first link of the page.
struct FocusLeft {
    qint32 isForward = 0;
    auto numbers() { return std::tie(isForward); }
    [[nodiscard]] bool isValid() const { return isFlag(isForward); }
};

/// The user has clicked a field with the middle button. The host sends the primary selection and
/// the key that pastes.
struct PasteAsked {
    qint32 page = 0;
    auto numbers() { return std::tie(page); }
    [[nodiscard]] bool isValid() const { return page > 0; }
};

/// The link that the pointer or the keyboard focus is on. `text` is the address that a click would
/// report, a line feed, and the link's own text if it has the focus; empty if there is no link. The
/// place is that of the link, in logical pixels relative to the page; its size is 0 where it is not
/// known.
struct LinkPointed {
    qint32 page = 0;
    /// Whether it is about the keyboard focus, not the pointer.
    qint32 isFocus = 0;
    qint32 x = 0;
    qint32 y = 0;
    qint32 width = 0;
    qint32 height = 0;
    QString text;
    auto numbers() { return std::tie(page, isFocus, x, y, width, height); }
    [[nodiscard]] QString address() const { return text.section(QLatin1Char('\n'), 0, 0); }
    [[nodiscard]] QString ownText() const { return text.section(QLatin1Char('\n'), 1); }
    [[nodiscard]] bool isValid() const {
        return page > 0 && isFlag(isFocus) && isBetween(-maxSide, x, maxSide) &&
               isBetween(-maxSide, y, maxSide) && isBetween(0, width, maxSide) &&
               isBetween(0, height, maxSide) && address().size() <= maxLink &&
               ownText().size() <= maxLinkText;
    }
};

/// Everything that this page names has come or failed: pictures, styles, frames.
struct PageLoaded {
    qint32 page = 0;
    auto numbers() { return std::tie(page); }
    [[nodiscard]] bool isValid() const { return page > 0; }
};

struct Pong {
    qint32 number = 0;
    auto numbers() { return std::tie(number); }
    [[nodiscard]] bool isValid() const { return true; }
};

using ChildMessage = std::variant<Ready, PageCame, FrameReady, PopupShown, PopupHidden, Navigation,
                                  CursorShape, ToolTip, InputState, Selection, CopiedText,
                                  FocusLeft, PasteAsked, LinkPointed, PageLoaded, Pong>;

}  // namespace pelorinnews::pageprotocol
