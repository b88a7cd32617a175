#include "OlvNewsWebView.h"

#include "KeyEquivalent.h"
#include "NewsWebViewAccessible.h"
#include "SpeakAgain.h"
#include "rendering/RendererLoader.h"
#include "richtext/RichTextMimeData.h"
#include "richtext/RichTextWriter.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>

namespace pelorinnews {

namespace {

QAccessibleInterface *accessibleFor(const QString &, QObject *object) {
    auto *const view = qobject_cast<OlvNewsWebView *>(object);
    return view ? new NewsWebViewAccessible(view, *view) : nullptr;
}

}  // namespace

OlvNewsWebView::OlvNewsWebView(QWidget *parent) : QWidget(parent) {
    QAccessible::installFactory(accessibleFor);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_InputMethodEnabled);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

OlvNewsWebView::~OlvNewsWebView() = default;

NewsRenderer &OlvNewsWebView::ensureRenderer() {
    if (!_renderer) {
        _renderer = RendererLoader::createRenderer(this, _rendererFolder);
        QWidget *painted = _renderer->widget();
        painted->setGeometry(rect());
        painted->show();
    }
    return *_renderer;
}

void OlvNewsWebView::loadHtmlString(const QString &html) {
    _page = html.isNull() ? QStringLiteral("") : html;
    ensureRenderer().loadHtmlString(_page);
}

void OlvNewsWebView::setStandardFontFamily(const QString &family) {
    ensureRenderer().setStandardFontFamily(family);
}

void OlvNewsWebView::setPolicyDelegate(NavigationPolicyDelegate *delegate) {
    ensureRenderer().setPolicyDelegate(delegate);
}

QVariant OlvNewsWebView::accessibilityAttributeValue(AccessibilityAttribute attribute) const {
    switch (attribute) {
        case AccessibilityAttribute::Value:
            return _value.isEmpty() ? QStringLiteral("Pelorin News content") : _value;
        case AccessibilityAttribute::Role:
            return static_cast<int>(QAccessible::StaticText);
        case AccessibilityAttribute::Title:
        case AccessibilityAttribute::Other:
            break;
    }
    return {};
}

bool OlvNewsWebView::accessibilityIsAttributeSettable(AccessibilityAttribute attribute) const {
    return attribute == AccessibilityAttribute::Value;
}

void OlvNewsWebView::accessibilitySetValueForAttribute(const QString &value,
                                                       AccessibilityAttribute attribute) {
    if (attribute != AccessibilityAttribute::Value)
        return;
    const QString before = accessibilityAttributeValue(attribute).toString();
    _value = value;
    announceValue(before);
}

void OlvNewsWebView::announceValue(const QString &before) {
    if (!QAccessible::isActive())
        return;
    const QString now = accessibilityAttributeValue(AccessibilityAttribute::Value).toString();
    QAccessibleEvent name(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&name);
    QAccessibleTextUpdateEvent update(this, 0, before, now);
    QAccessible::updateAccessibility(&update);
    speakAgain(this);
}

bool OlvNewsWebView::performKeyEquivalent(const QKeyEvent &event) {
    return isKeyEquivalent(event, copyKeyEquivalent) && (copyAsRichText() || copyValue());
}

bool OlvNewsWebView::copyAsRichText() const {
    const auto rtf = richTextFromHtml(_page);
    if (!rtf)
        return false;
    QGuiApplication::clipboard()->setMimeData(richTextMimeData(*rtf).release());
    return true;
}

bool OlvNewsWebView::copyValue() const {
    if (_value.isEmpty())
        return false;
    QGuiApplication::clipboard()->setText(_value);
    return true;
}

QWidget *OlvNewsWebView::inputWidget() const {
    return _renderer ? _renderer->inputWidget() : nullptr;
}

// The view keeps the focus and forwards input to the renderer. If the renderer had the focus,
// assistive technologies would be told of an object inside it instead of the view.
bool OlvNewsWebView::event(QEvent *event) {
    switch (event->type()) {
        case QEvent::FocusIn:
        case QEvent::FocusOut:
            if (QObject *page = inputWidget())
                page->event(event);
            break;
        case QEvent::InputMethod:
        case QEvent::ShortcutOverride:
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
            if (QObject *page = inputWidget())
                return page->event(event);
            break;
        default:
            break;
    }
    return QWidget::event(event);
}

QVariant OlvNewsWebView::inputMethodQuery(Qt::InputMethodQuery query) const {
    const QWidget *page = inputWidget();
    if (!page || query == Qt::ImEnabled)
        return page && page->testAttribute(Qt::WA_InputMethodEnabled);
    return page->inputMethodQuery(query);
}

void OlvNewsWebView::resizeEvent(QResizeEvent *event) {
    QWidget::resizeEvent(event);
    if (_renderer)
        _renderer->widget()->setGeometry(rect());
}

}  // namespace pelorinnews
