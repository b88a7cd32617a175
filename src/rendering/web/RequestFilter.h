#pragma once

#include <QWebEngineUrlRequestInterceptor>

namespace pelorinnews {

/// Lets a page load from the web, from the page itself and from the item's own scheme. Blocks every
/// other scheme that the engine or the host knows, including the host's own resources, so that a
/// page reads nothing from this computer.
class RequestFilter final : public QWebEngineUrlRequestInterceptor {
    Q_OBJECT

public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;

    void interceptRequest(QWebEngineUrlRequestInfo &request) override;
};

}  // namespace pelorinnews
