#pragma once

#include "GlibFlush.h"

#include "pelorinnews/HostIdentity.h"
#include "pelorinnews/NewsController.h"
#include "pelorinnews/NewsStatus.h"
#include "pelorinnews/OlvLogger.h"
#include "pelorinnews/pelorin_news.h"

#include <QApplication>
#include <QByteArray>

#include <array>
#include <memory>
#include <optional>

namespace pelorinnews {

/// What the C functions keep between calls: the identity, the logger, the panel and, if the host
/// has none, the application object. Used on the panel's thread only. Operations return a
/// `pelorin_news_result`; texts are null or UTF-8.
class Panel {
public:
    Panel() = default;
    Panel(const Panel &) = delete;
    Panel &operator=(const Panel &) = delete;
    ~Panel() = default;

    int setIdentity(const char *bundleIdentifier, const char *organizationName,
                    const char *applicationName);
    int setPreference(const char *key, const char *value);
    int setLogger(pelorin_news_logger logger, void *context);
    int create();
    int show();
    int refresh();
    int getStatus(pelorin_news_status *status);
    int setStatusCallback(pelorin_news_callback callback, void *context);
    int exit();

private:
    int makeApplication();
    int fail(const QString &reason);
    void removeApplication();

    std::optional<HostIdentity> _identity;
    std::shared_ptr<OlvLogger> _logger;
    // `QApplication` refers to its arguments as long as it lives.
    int _argumentCount = 1;
    QByteArray _programName;
    std::array<char *, 2> _arguments{};
    std::unique_ptr<QApplication> _application;
    std::unique_ptr<GlibFlush> _flush;
    std::shared_ptr<NewsController> _controller;
    NewsStatus *_status = nullptr;
    int _runningCallbacks = 0;

    // The texts that the host was handed.
    QByteArray _latestTitle;
    QByteArray _refreshError;
};

}  // namespace pelorinnews
