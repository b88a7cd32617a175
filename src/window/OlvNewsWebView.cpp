#include "OlvNewsWebView.h"

#include "KeyEquivalent.h"
#include "NewsWebViewAccessible.h"
#include "RendererLoader.h"
#include "RichTextMimeData.h"
#include "RichTextWriter.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>

namespace pelorinnews {

OlvNewsWebView::OlvNewsWebView(QWidget *parent) : QWidget(parent) {
    NewsWebViewAccessible::installFactory();
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

OlvNewsWebView::~OlvNewsWebView() = default;

NewsRenderer &OlvNewsWebView::ensureRenderer() {
    if (!_renderer) {
        _renderer = RendererLoader::createRenderer(this, _rendererFolder);
        QWidget *painted = _renderer->widget();
        painted->setGeometry(rect());
        painted->show();
        setFocusProxy(painted);
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
    NewsWebViewAccessible::announceValue(this, before);
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

void OlvNewsWebView::resizeEvent(QResizeEvent *event) {
    QWidget::resizeEvent(event);
    if (_renderer)
        _renderer->widget()->setGeometry(rect());
}

}  // namespace pelorinnews
