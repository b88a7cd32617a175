#pragma once

#include "rendering/NewsRenderer.h"

#include <QWidget>

#include <memory>

class QKeyEvent;

namespace pelorinnews {

/// The attributes that the content view answers and takes for accessibility clients.
enum class AccessibilityAttribute { Value, Role, Title, Other };

/// The content view: shows one item's page and presents it to accessibility clients as a single
/// static text whose value the window controller sets.
///
/// It owns the keyboard focus, the accessibility value and the copy; a renderer inside paints the
/// page and is handed the keys. The renderer is made when the first page is loaded or its font is
/// set, so that a view that is never shown costs nothing. Main thread only.
class OlvNewsWebView final : public QWidget {
    Q_OBJECT

public:
    explicit OlvNewsWebView(QWidget *parent = nullptr);
    ~OlvNewsWebView() override;

    /// Where the web renderer's plug-in lies; counts until the renderer is made. Null (the default)
    /// means the module's own folder.
    void setRendererFolder(const QString &folder) { _rendererFolder = folder; }

    /// Shows `html` in place of the page before. Relative links in it resolve against "http://".
    void loadHtmlString(const QString &html);
    void setStandardFontFamily(const QString &family);

    /// Must outlive the view or be replaced by null.
    void setPolicyDelegate(NavigationPolicyDelegate *delegate);

    /// The page as it was loaded, also where it has gone elsewhere since (a form that was sent, a
    /// refresh): what is copied is the news item. Null before the first page.
    [[nodiscard]] QString outerHTML() const { return _page; }

    /// The value, or the fixed text that stands for a value that is absent or empty; the role as
    /// accessibility clients number it; nothing for other attributes.
    [[nodiscard]] QVariant accessibilityAttributeValue(AccessibilityAttribute attribute) const;
    [[nodiscard]] bool accessibilityIsAttributeSettable(AccessibilityAttribute attribute) const;

    /// Stores the value and announces it, the same text again too. Other attributes are ignored.
    void accessibilitySetValueForAttribute(const QString &value, AccessibilityAttribute attribute);

    /// The value as it was set: absent or empty where no text stands for it.
    [[nodiscard]] QString ownValue() const { return _value; }

    /// Handles Command-C by copying the whole item; says whether the event was handled.
    bool performKeyEquivalent(const QKeyEvent &event);

    [[nodiscard]] QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

protected:
    bool event(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    NewsRenderer &ensureRenderer();
    [[nodiscard]] QWidget *inputWidget() const;
    [[nodiscard]] bool copyAsRichText() const;
    [[nodiscard]] bool copyValue() const;

    QString _rendererFolder;
    QString _page;
    QString _value;
    // Goes first: a client may still ask the view while its renderer goes.
    std::unique_ptr<NewsRenderer> _renderer;
};

}  // namespace pelorinnews
