#pragma once

#include <QWebEngineUrlRequestInterceptor>

namespace pelorinnews {

/// Allows a page's requests for `http:`, `https:`, `data:`, `blob:` and the item's own scheme.
/// Blocks every other scheme that the engine or the host knows, including that of the host's own
/// resources (`qrc:`), so that a page reads nothing from this computer.
class RequestFilter final : public QWebEngineUrlRequestInterceptor {
    Q_OBJECT

public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;

    void interceptRequest(QWebEngineUrlRequestInfo &request) override;
};

}  // namespace pelorinnews
