#include "PageInput.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyleHints>
#include <QTextCharFormat>
#include <QWheelEvent>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace pelorinnews {

using namespace pageprotocol;

namespace {

using std::chrono::steady_clock;

/// Maximum of `_actions` and `_focusKeys`: more than a user makes before a hanging page process is
/// detected.
constexpr int maxActions = 1000;

/// How long after the user's input the process may ask for, or send, a clipboard's text.
constexpr std::chrono::seconds clipboardTimeout{5};

qint32 unit(double position) {
    const double number = std::round(position * positionUnit);
    constexpr double maxUnits = positionUnit * maxSide;
    return static_cast<qint32>(std::clamp(number, -maxUnits, maxUnits));
}

// The engine only draws underlines. If the input method highlights a clause, which the next key
// will change, then only that one is underlined.
PreeditText preedit(const QInputMethodEvent &event) {
    PreeditText message;
    message.text = event.preeditString();
    const auto size = static_cast<qint32>(message.text.size());
    message.cursor = size;
    std::vector<PreeditText::Clause> highlighted;
    std::vector<PreeditText::Clause> underlined;
    for (const QInputMethodEvent::Attribute &each : event.attributes()) {
        const qint32 start = std::clamp(each.start, 0, size);
        const PreeditText::Clause clause{start, std::clamp(each.length, 0, size - start)};
        const QTextCharFormat format = each.value.value<QTextFormat>().toCharFormat();
        if (each.type == QInputMethodEvent::Cursor)
            message.cursor = start;
        else if (format.background().style() != Qt::NoBrush)
            highlighted.push_back(clause);
        else if (format.underlineStyle() != QTextCharFormat::NoUnderline)
            underlined.push_back(clause);
    }
    const auto &shown = highlighted.empty() ? underlined : highlighted;
    std::copy_n(shown.begin(), std::min(shown.size(), message.clauses.size()),
                message.clauses.begin());
    return message;
}

bool takeOne(int &count) {
    if (count == 0)
        return false;
    --count;
    return true;
}

bool isPaste(const QKeyEvent &event) {
    // The engine pastes with Ctrl+Shift+V, too: the text without its style.
    return event.matches(QKeySequence::Paste) ||
           (event.key() == Qt::Key_V &&
            event.modifiers() == (Qt::ControlModifier | Qt::ShiftModifier));
}

qint32 bits(auto flags) {
    return static_cast<qint32>(flags.toInt());
}

}  // namespace

void PageInput::setChild(PageChild *child) {
    _child = child;
    _takesText = false;
    cancelComposition();
}

void PageInput::setTakesText(bool takesText) {
    _takesText = takesText;
    if (!takesText)
        cancelComposition();
}

// The input method keeps its composition until it is told otherwise, and would go on with it in the
// next field.
void PageInput::cancelComposition() {
    if (!std::exchange(_isComposing, false))
        return;
    QGuiApplication::inputMethod()->reset();
    send(PreeditText{});
}

void PageInput::beginPage() {
    cancelComposition();
    _actions = 0;
    _isInUse = false;
    _copies = {};
    _pastes = {};
}

void PageInput::countAction() {
    _isInUse = true;
    _actions = std::min(_actions + 1, maxActions);
}

void PageInput::countFocusKey() {
    _focusKeys = std::min(_focusKeys + 1, maxActions);
}

void PageInput::Permissions::add() {
    _count = std::min(_count + 1, maxActions);
    _end = steady_clock::now() + clipboardTimeout;
}

bool PageInput::Permissions::take() {
    if (steady_clock::now() > _end)
        _count = 0;
    return takeOne(_count);
}

bool PageInput::takeCopying() {
    return _copies.take();
}

bool PageInput::takeAction() {
    return takeOne(_actions);
}

bool PageInput::takeFocusKey() {
    return takeOne(_focusKeys);
}

void PageInput::sendMouse(qint32 surface, const QMouseEvent &event, qint32 kind) {
    if (kind == MouseInput::Press) {
        _isInUse = true;
        _pressPlace = event.position();
        // The text belongs to the field in which it was composed, wherever the click is.
        if (_isComposing)
            QGuiApplication::inputMethod()->commit();
        Q_EMIT pressing();
    }
    if (kind == MouseInput::Release)
        countAction();
    send(MouseInput{surface, kind, unit(event.position().x()), unit(event.position().y()),
                    static_cast<qint32>(event.button()), bits(event.buttons()),
                    bits(event.modifiers())});
    if (kind == MouseInput::Release && event.button() == Qt::MiddleButton)
        countMiddleClick(event.position());
    Q_EMIT sent();
}

// The page also reports a release far from its press, which is no click.
void PageInput::countMiddleClick(QPointF released) {
    if ((released - _pressPlace).manhattanLength() <
        QGuiApplication::styleHints()->startDragDistance())
        _pastes.add();
    else
        _pastes = {};
}

// As in every text field of X11 and Wayland desktops. The engine itself has no primary selection.
void PageInput::pasteSelection() {
    const QClipboard *clipboard = QGuiApplication::clipboard();
    if (!_pastes.take() || !clipboard->supportsSelection())
        return;
    const QString text = clipboard->text(QClipboard::Selection);
    if (text.isEmpty())
        return;
    // The click has put the text cursor where the pointer is.
    send(ClipboardText{text});
    KeyInput key{.isPress = 1, .key = Qt::Key_V, .modifiers = Qt::ControlModifier, .text = {}};
    send(key);
    key.isPress = 0;
    send(key);
}

void PageInput::sendLeave() {
    send(MouseInput{.surface = 0, .kind = MouseInput::Leave});
}

void PageInput::sendWheel(qint32 surface, const QWheelEvent &event) {
    send(WheelInput{surface, unit(event.position().x()), unit(event.position().y()),
                    event.pixelDelta().x(), event.pixelDelta().y(), event.angleDelta().x(),
                    event.angleDelta().y(), bits(event.buttons()), bits(event.modifiers()),
                    static_cast<qint32>(event.phase()), event.inverted() ? 1 : 0});
    Q_EMIT sent();
}

void PageInput::sendKey(const QKeyEvent &event, bool isPress) {
    if (isPress) {
        Q_EMIT pressing();
        countAction();
        if (event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab)
            countFocusKey();
        if (_takesText && (event.matches(QKeySequence::Cut) || event.matches(QKeySequence::Copy)))
            _copies.add();
        // Even if no field is known to have the focus: a click into one may just have been sent.
        if (isPaste(event))
            send(ClipboardText{QGuiApplication::clipboard()->text()});
    }
    send(KeyInput{
        isPress ? 1 : 0, event.key(), bits(event.modifiers()),
        static_cast<qint32>(event.nativeScanCode()), static_cast<qint32>(event.nativeVirtualKey()),
        static_cast<qint32>(event.nativeModifiers()), event.isAutoRepeat() ? 1 : 0, event.text()});
    Q_EMIT sent();
}

void PageInput::sendFocus(bool hasFocus, Qt::FocusReason reason) {
    // The key that moved the focus into a page without links moves it on.
    if (hasFocus && (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason))
        countFocusKey();
    send(FocusInput{hasFocus ? 1 : 0, std::min<qint32>(reason, Qt::OtherFocusReason)});
}

void PageInput::sendInputMethod(const QInputMethodEvent &event) {
    if (!event.commitString().isEmpty() || event.replacementLength() > 0)
        send(CommitText{event.replacementStart(), event.replacementLength(), event.commitString()});
    _isComposing = !event.preeditString().isEmpty();
    send(preedit(event));
    Q_EMIT sent();
}

void PageInput::sendDrop(QPointF place, const QString &text) {
    send(DropText{unit(place.x()), unit(place.y()), text});
}

void PageInput::dismissPopup(qint32 surface) {
    send(DismissPopup{surface});
}

bool PageInput::isForTextField(const QKeyEvent &event) const {
    if (!_takesText)
        return false;
    const auto command =
        event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    if (command == Qt::NoModifier)
        return event.key() != Qt::Key_Escape && event.key() != Qt::Key_Tab &&
               (event.key() < Qt::Key_F1 || event.key() > Qt::Key_F35);
    static constexpr std::array edits{QKeySequence::Undo,
                                      QKeySequence::Redo,
                                      QKeySequence::Cut,
                                      QKeySequence::Copy,
                                      QKeySequence::SelectAll,
                                      QKeySequence::DeleteStartOfWord,
                                      QKeySequence::DeleteEndOfWord,
                                      QKeySequence::MoveToNextWord,
                                      QKeySequence::MoveToPreviousWord,
                                      QKeySequence::SelectNextWord,
                                      QKeySequence::SelectPreviousWord,
                                      QKeySequence::MoveToStartOfDocument,
                                      QKeySequence::MoveToEndOfDocument};
    const auto isThis = [&event](auto edit) { return event.matches(edit); };
    return isPaste(event) || std::any_of(edits.begin(), edits.end(), isThis);
}

}  // namespace pelorinnews
