#include "NewsWebViewAccessible.h"

namespace pelorinnews {

NewsWebViewAccessible::NewsWebViewAccessible(QWidget *view, AccessibilityAttributes &viewAttributes)
    : QAccessibleWidget(view, QAccessible::StaticText), _attributes(viewAttributes) {}

QString NewsWebViewAccessible::wholeText() const {
    return _attributes.accessibilityAttributeValue(AccessibilityAttribute::Value).toString();
}

QString NewsWebViewAccessible::text(QAccessible::Text which) const {
    if (which == QAccessible::Name || which == QAccessible::Value)
        return wholeText();
    return QAccessibleWidget::text(which);
}

void NewsWebViewAccessible::setText(QAccessible::Text which, const QString &text) {
    if (which == QAccessible::Value)
        _attributes.accessibilitySetValueForAttribute(text, AccessibilityAttribute::Value);
}

QAccessible::State NewsWebViewAccessible::state() const {
    QAccessible::State state = QAccessibleWidget::state();
    state.multiLine = true;
    state.editable = false;
    return state;
}

void *NewsWebViewAccessible::interface_cast(QAccessible::InterfaceType type) {
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface *>(this);
    if (type == QAccessible::EditableTextInterface)
        return static_cast<QAccessibleEditableTextInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

void NewsWebViewAccessible::deleteText(int startOffset, int endOffset) {
    replaceText(startOffset, endOffset, QString());
}

void NewsWebViewAccessible::insertText(int offset, const QString &text) {
    replaceText(offset, offset, text);
}

void NewsWebViewAccessible::replaceText(int startOffset, int endOffset, const QString &text) {
    // Edits the value as it was set, never the placeholder for an absent value.
    QString whole = _attributes.ownValue();
    const int length = static_cast<int>(whole.size());
    const int start = qBound(0, startOffset, length);
    const int end = endOffset < 0 ? length : qBound(start, endOffset, length);
    whole.replace(start, end - start, text);
    _attributes.accessibilitySetValueForAttribute(whole, AccessibilityAttribute::Value);
}

}  // namespace pelorinnews
