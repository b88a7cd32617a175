#pragma once

#include "NewsRenderer.h"

#include <QPointer>

namespace pelorinnews {

class EngineView;
class ItemPage;
class ItemSchemeHandler;

/// Paints a page with the web engine, off the record.
class WebNewsRenderer final : public NewsRenderer {
public:
    explicit WebNewsRenderer(QWidget *parent);
    ~WebNewsRenderer() override;

    [[nodiscard]] QWidget *widget() const override;
    void loadHtmlString(const QString &html) override;
    void setStandardFontFamily(const QString &family) override;
    void setPolicyDelegate(NavigationPolicyDelegate *delegate) override;

private:
    QPointer<EngineView> _view;
    QPointer<ItemPage> _page;
    ItemSchemeHandler *_handler = nullptr;
};

}  // namespace pelorinnews
