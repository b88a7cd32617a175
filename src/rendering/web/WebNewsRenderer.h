#pragma once

#include "rendering/NewsRenderer.h"

#include <QPointer>
#include <QTimer>
#include <QWidget>

namespace pelorinnews {

class ItemPage;
class ItemSchemeHandler;

/// Paints a page with the web engine, off the record: keeps nothing on disk.
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
    /// Frees what a closed window does not need: the page's process and the memory of library code.
    void discardPage();
    /// Loads the item in another process if it has not appeared yet, presumably because the
    /// previous page hangs.
    void retryInNewProcess();

    QPointer<QWidget> _surround;
    /// The engine's view. Declared as a `QWidget`, because the pointer is also used while the view
    /// is being destroyed, when only that base class is left.
    QPointer<QWidget> _view;
    QPointer<ItemPage> _page;
    ItemSchemeHandler *_handler = nullptr;
    QTimer _discardTimer;
    QTimer _hangTimer;
    /// Whether the item was reloaded after its process had died.
    bool _revived = false;
};

}  // namespace pelorinnews
