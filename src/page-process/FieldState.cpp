#include "FieldState.h"

#include <QGuiApplication>
#include <QInputMethodQueryEvent>
#include <QRect>

#include <algorithm>

namespace pelorinnews {

using namespace pageprotocol;

namespace {

/// Maximum length, in characters, of the text around the cursor that is reported.
constexpr qsizetype maxSurrounding = 1000;

}  // namespace

InputState currentFieldState() {
    InputState state;
    QObject *focus = QGuiApplication::focusObject();
    if (!focus)
        return state;
    QInputMethodQueryEvent query(Qt::ImEnabled | Qt::ImHints | Qt::ImCursorRectangle |
                                 Qt::ImSurroundingText | Qt::ImCursorPosition |
                                 Qt::ImAnchorPosition);
    QCoreApplication::sendEvent(focus, &query);
    state.takesText = query.value(Qt::ImEnabled).toBool() ? 1 : 0;
    state.hints = query.value(Qt::ImHints).toInt();
    const QRect cursor = query.value(Qt::ImCursorRectangle).toRect();
    state.x = std::clamp(cursor.x(), -maxSide, maxSide);
    state.y = std::clamp(cursor.y(), -maxSide, maxSide);
    state.width = std::clamp(cursor.width(), 0, maxSide);
    state.height = std::clamp(cursor.height(), 0, maxSide);
    const QString text = query.value(Qt::ImSurroundingText).toString();
    const qsizetype position = query.value(Qt::ImCursorPosition).toInt();
    const qsizetype start = std::clamp<qsizetype>(position - maxSurrounding / 2, 0, text.size());
    state.text = text.mid(start, maxSurrounding);
    const auto within = [&](qsizetype place) {
        return static_cast<qint32>(std::clamp<qsizetype>(place - start, 0, state.text.size()));
    };
    state.cursor = within(position);
    state.anchor = within(query.value(Qt::ImAnchorPosition).toInt());
    return state;
}

}  // namespace pelorinnews
