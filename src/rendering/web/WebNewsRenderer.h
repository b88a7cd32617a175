#pragma once

#include "rendering/NewsRenderer.h"

#include <QPointer>
#include <QTimer>
#include <QWidget>

namespace pelorinnews {

class ItemPage;
class ItemSchemeHandler;

/// Paints a page with the web engine, off the record.
class WebNewsRenderer final : public NewsRenderer {
public:
    explicit WebNewsRenderer(QWidget *parent);
    ~WebNewsRenderer() override;

    [[nodiscard]] QWidget *widget() const override { return _surround; }
    [[nodiscard]] QWidget *inputWidget() const override;
    void loadHtmlString(const QString &html) override;
    void setStandardFontFamily(const QString &family) override;
    void setPolicyDelegate(NavigationPolicyDelegate *delegate) override;

private:
    /// Gives back what a closed window does not need.
    void rest();
    /// Loads the item by another process if the page before holds it up.
    void loadLateItemElsewhere();

    QPointer<QWidget> _surround;
    /// The engine's view, as what it still is when it is asked for while it is being destroyed.
    QPointer<QWidget> _view;
    QPointer<ItemPage> _page;
    ItemSchemeHandler *_handler = nullptr;
    QTimer _rest;
    QTimer _late;
    /// Whether the item was shown anew after its process had died.
    bool _revived = false;
};

}  // namespace pelorinnews
