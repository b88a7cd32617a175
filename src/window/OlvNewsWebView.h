#pragma once

#include "AccessibilityAttributes.h"
#include "KeyEquivalent.h"
#include "rendering/NewsRenderer.h"

#include <QWidget>

#include <memory>

class QKeyEvent;

namespace pelorinnews {

class LinkTip;

/// The content view: shows one item's page and presents it to accessibility clients as a single
/// static text whose value the window controller sets.
///
/// The view owns the keyboard focus, the accessibility value and copying; a renderer inside paints
/// the page and receives forwarded key events. The renderer is created when a page, the font or the
/// policy delegate is first set, so a view that is never shown costs nothing. Main thread only.
class OlvNewsWebView final : public QWidget, public AccessibilityAttributes {
    Q_OBJECT

public:
    explicit OlvNewsWebView(QWidget *parent = nullptr);
    ~OlvNewsWebView() override;

    /// Folder of the page process's program. No effect once the renderer exists. Null (the default)
    /// means the module's own folder.
    void setProgramFolder(const QString &folder) { _programFolder = folder; }

    /// Replaces the current page by `html`. Relative links in it resolve against "http://".
    void loadHtmlString(const QString &html, PageKind kind = PageKind::Item);
    void setStandardFontFamily(const QString &family);

    /// `delegate` must outlive the view or be replaced by null.
    void setPolicyDelegate(NavigationPolicyDelegate *delegate);

    /// The page as it was loaded, even if it has navigated away since (form submission, refresh),
    /// so that copying always copies the news item. Null before the first page.
    [[nodiscard]] QString outerHTML() const { return _page; }

    [[nodiscard]] QVariant accessibilityAttributeValue(
        AccessibilityAttribute attribute) const override;
    [[nodiscard]] bool accessibilityIsAttributeSettable(AccessibilityAttribute attribute) const;
    void accessibilitySetValueForAttribute(const QString &value,
                                           AccessibilityAttribute attribute) override;
    [[nodiscard]] QString ownValue() const override { return _value; }

    /// Handles Command-C by copying the whole item, Command-Shift-C by copying the address of the
    /// link with the focus or else under the pointer, and zooms the page with Command and plus,
    /// minus or zero; returns whether the event was handled.
    bool performKeyEquivalent(const QKeyEvent &event);

    /// Whether typed text goes into a field of the page.
    [[nodiscard]] bool takesText() const;

    [[nodiscard]] QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

protected:
    bool event(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    /// Zooms the page with Command and the wheel.
    void wheelEvent(QWheelEvent *event) override;

private:
    NewsRenderer &ensureRenderer();
    [[nodiscard]] QWidget *inputWidget() const;
    void announceValue(const QString &before);
    void linkPointed(LinkPointer pointer, const PageLink &link);
    void zoom(ZoomStep step);
    [[nodiscard]] bool copyAsRichText() const;
    [[nodiscard]] bool copyValue() const;
    [[nodiscard]] bool copyLink() const;

    QString _programFolder;
    QString _page;
    QString _value;
    QUrl _hoveredLink;
    QUrl _focusedLink;
    /// Null until the first link.
    LinkTip *_linkTip = nullptr;
    int _zoom = 100;
    int _wheelTurn = 0;
    // Declared last, so destroyed first: during its destruction, accessibility clients may still
    // query the view's other members.
    std::unique_ptr<NewsRenderer> _renderer;
};

}  // namespace pelorinnews
