#include "OlvNewsWebView.h"

#include "LinkTip.h"
#include "NewsWebViewAccessible.h"
#include "SpeakAgain.h"
#include "rendering/RendererLoader.h"
#include "richtext/RichTextMimeData.h"
#include "richtext/RichTextWriter.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QWheelEvent>

#include <algorithm>
#include <array>

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
        _renderer = RendererLoader::createRenderer(this, _programFolder);
        _renderer->setLinkObserver(
            [this](LinkPointer pointer, const PageLink &link) { linkPointed(pointer, link); });
        QWidget *painted = _renderer->widget();
        painted->setGeometry(rect());
        painted->show();
    }
    return *_renderer;
}

void OlvNewsWebView::loadHtmlString(const QString &html, PageKind kind) {
    _page = html.isNull() ? QStringLiteral("") : html;
    ensureRenderer().loadHtmlString(_page, kind);
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
    if (isKeyEquivalent(event, copyKeyEquivalent))
        return copyAsRichText() || copyValue();
    if (isKeyEquivalent(event, copyLinkKeyEquivalent))
        return copyLink();
    const auto step = zoomStep(event);
    if (step)
        zoom(*step);
    return step.has_value();
}

void OlvNewsWebView::zoom(ZoomStep step) {
    static constexpr std::array levels{50, 67, 80, 90, 100, 110, 125, 150, 175, 200, 250, 300};
    const auto *level = std::find(levels.begin(), levels.end(), _zoom);
    if (step == ZoomStep::Reset)
        _zoom = 100;
    else if (step == ZoomStep::In && level + 1 != levels.end())
        _zoom = level[1];
    else if (step == ZoomStep::Out && level != levels.begin())
        _zoom = level[-1];
    ensureRenderer().setZoom(_zoom);
}

void OlvNewsWebView::wheelEvent(QWheelEvent *event) {
    if (!event->modifiers().testFlag(Qt::ControlModifier))
        return QWidget::wheelEvent(event);
    // The angle delta of one notch of a common mouse wheel.
    constexpr int notch = QWheelEvent::DefaultDeltasPerStep;
    for (_wheelTurn += event->angleDelta().y(); _wheelTurn >= notch; _wheelTurn -= notch)
        zoom(ZoomStep::In);
    for (; _wheelTurn <= -notch; _wheelTurn += notch)
        zoom(ZoomStep::Out);
    event->accept();
}

void OlvNewsWebView::linkPointed(LinkPointer pointer, const PageLink &link) {
    (pointer == LinkPointer::Focus ? _focusedLink : _hoveredLink) = link.address;
    // Screen readers get to know the link of the focus only.
    const QString text = LinkTip::text(_focusedLink);
    if (text != accessibleDescription())
        setAccessibleDescription(text);
    if (!_linkTip && !link.address.isEmpty())
        _linkTip = new LinkTip(this);
    if (_linkTip)
        _linkTip->setLink(pointer, link);
}

bool OlvNewsWebView::copyLink() const {
    const QUrl &link = _focusedLink.isEmpty() ? _hoveredLink : _focusedLink;
    if (link.isEmpty())
        return false;
    QGuiApplication::clipboard()->setText(link.toString(QUrl::FullyEncoded));
    return true;
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

bool OlvNewsWebView::takesText() const {
    return hasFocus() && inputMethodQuery(Qt::ImEnabled).toBool();
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
