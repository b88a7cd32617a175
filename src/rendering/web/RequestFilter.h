#pragma once

#include <QWebEngineUrlRequestInterceptor>

namespace pelorinnews {

/// Lets a page load what the web and the page itself hold, and nothing of this computer: whatever
/// other schemes the engine or the host know, the host's own resources among them, is refused.
class RequestFilter final : public QWebEngineUrlRequestInterceptor {
    Q_OBJECT

public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;

    void interceptRequest(QWebEngineUrlRequestInfo &request) override;
};

}  // namespace pelorinnews
