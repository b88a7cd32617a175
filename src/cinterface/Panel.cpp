#include "Panel.h"

#include "pelorinnews/LoadNewsPlugin.h"

#include <QAbstractEventDispatcher>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QThread>

#include <array>
#include <dlfcn.h>
#include <utility>

namespace pelorinnews {

namespace {

class HostLogger final : public OlvLogger {
public:
    HostLogger(pelorin_news_logger logger, void *context) : _logger(logger), _context(context) {}

    void addErrorMessage(const QString &message) override { add(PELORIN_NEWS_ERROR, message); }
    void addWarningMessage(const QString &message) override { add(PELORIN_NEWS_WARNING, message); }
    void addInfoMessage(const QString &message) override { add(PELORIN_NEWS_INFO, message); }
    void addDebugMessage(const QString &message) override { add(PELORIN_NEWS_DEBUG, message); }

private:
    void add(int level, const QString &message) {
        _logger(_context, level, message.toUtf8().constData());
    }

    pelorin_news_logger _logger;
    void *_context;
};

bool isMissing(const char *text) {
    return !text || !*text;
}

// The module lies beside this library's own file, whatever path the host loaded the library by.
QString modulePath() {
    static const char anchor = 0;
    Dl_info info{};
    if (dladdr(&anchor, &info) == 0 || !info.dli_fname)
        return {};
    return QFileInfo(QFile::decodeName(info.dli_fname)).canonicalPath() +
           QStringLiteral("/pelorin/PelorinNews.so");
}

// Qt ends the process if it finds no display.
bool hasDisplay() {
    constexpr std::array variables{"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"};
    for (const char *variable : variables) {
        if (!qEnvironmentVariableIsEmpty(variable))
            return true;
    }
    return false;
}

int64_t seconds(const QDateTime &date) {
    return date.isValid() ? date.toSecsSinceEpoch() : PELORIN_NEWS_NO_DATE;
}

const char *textOrNull(const QByteArray &text) {
    return text.isNull() ? nullptr : text.constData();
}

}  // namespace

int Panel::setIdentity(const char *bundleIdentifier, const char *organizationName,
                       const char *applicationName) {
    if (isMissing(bundleIdentifier) || isMissing(organizationName) || isMissing(applicationName))
        return PELORIN_NEWS_MISSING_ARGUMENT;
    if (_controller)
        return PELORIN_NEWS_ALREADY_CREATED;
    _identity = {QString::fromUtf8(bundleIdentifier), QString::fromUtf8(organizationName),
                 QString::fromUtf8(applicationName)};
    return PELORIN_NEWS_OK;
}

int Panel::setPreference(const char *key, const char *value) {
    if (isMissing(key))
        return PELORIN_NEWS_MISSING_ARGUMENT;
    if (!_identity)
        return PELORIN_NEWS_NO_IDENTITY;
    QSettings preferences(_identity->organizationName, _identity->applicationName);
    if (value)
        preferences.setValue(QString::fromUtf8(key), QString::fromUtf8(value));
    else
        preferences.remove(QString::fromUtf8(key));
    return PELORIN_NEWS_OK;
}

int Panel::setLogger(pelorin_news_logger logger, void *context) {
    _logger = logger ? std::make_shared<HostLogger>(logger, context) : nullptr;
    if (_controller)
        _controller->setLogger(_logger);
    return PELORIN_NEWS_OK;
}

int Panel::create() {
    if (_controller)
        return PELORIN_NEWS_ALREADY_CREATED;
    if (!_identity)
        return PELORIN_NEWS_NO_IDENTITY;
    if (const int result = makeApplication(); result != PELORIN_NEWS_OK)
        return result;
    QString problem;
    NewsPlugin *const plugin = loadNewsPlugin(modulePath(), &problem);
    if (!plugin)
        return fail(problem);
    plugin->setHostIdentity(*_identity);
    Error error;
    _controller = plugin->init(&error);
    if (!_controller)
        return fail(error.userInfo.value(Error::underlyingErrorKey()).toString());
    _controller->setLogger(_logger);
    _status = newsStatus(_controller);
    if (!_status) {
        exit();
        return fail(QStringLiteral("The module has another version of the status."));
    }
    return PELORIN_NEWS_OK;
}

int Panel::makeApplication() {
    if (QCoreApplication::instance())
        return PELORIN_NEWS_OK;
    if (!hasDisplay())
        return PELORIN_NEWS_NO_DISPLAY;
    _programName = _identity->applicationName.toUtf8();
    _arguments = {_programName.data(), nullptr};
    _application = std::make_unique<QApplication>(_argumentCount, _arguments.data());
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setOrganizationName(_identity->organizationName);
    QCoreApplication::setApplicationName(_identity->applicationName);
    QGuiApplication::setDesktopFileName(_identity->bundleIdentifier);
    if (!QAbstractEventDispatcher::instance()->inherits("QEventDispatcherGlib"))
        return fail(
            QStringLiteral("Qt does not use the GLib event loop. Is QT_NO_GLIB set in the "
                           "environment?"));
    _flush = std::make_unique<GlibFlush>();
    return PELORIN_NEWS_OK;
}

int Panel::fail(const QString &reason) {
    if (_logger)
        _logger->addErrorMessage(reason);
    removeApplication();
    return PELORIN_NEWS_FAILED;
}

int Panel::show() {
    if (!_controller)
        return PELORIN_NEWS_NOT_CREATED;
    _controller->show();
    return PELORIN_NEWS_OK;
}

int Panel::refresh() {
    if (!_controller)
        return PELORIN_NEWS_NOT_CREATED;
    _status->refreshNow();
    return PELORIN_NEWS_OK;
}

int Panel::getStatus(pelorin_news_status *status) {
    if (!_controller)
        return PELORIN_NEWS_NOT_CREATED;
    if (!status)
        return PELORIN_NEWS_MISSING_ARGUMENT;
    const auto latest = _status->latestItem();
    const auto refresh = _status->lastRefresh();
    _latestTitle = latest ? latest->title.toUtf8() : QByteArray();
    _refreshError =
        refresh && refresh->error ? refresh->error->description().toUtf8() : QByteArray();
    *status = {_status->unreadCount(), seconds(latest ? latest->date : QDateTime()),
               seconds(refresh ? refresh->time : QDateTime()), textOrNull(_latestTitle),
               textOrNull(_refreshError)};
    return PELORIN_NEWS_OK;
}

int Panel::setStatusCallback(pelorin_news_callback callback, void *context) {
    if (!_controller)
        return PELORIN_NEWS_NOT_CREATED;
    if (!callback) {
        _status->setChangeCallback({});
        return PELORIN_NEWS_OK;
    }
    _status->setChangeCallback([this, callback, context] {
        ++_runningCallbacks;
        callback(context);
        --_runningCallbacks;
    });
    return PELORIN_NEWS_OK;
}

int Panel::exit() {
    if (!_controller)
        return PELORIN_NEWS_NOT_CREATED;
    _controller->exit();
    _status = nullptr;
    _controller.reset();
    _latestTitle.clear();
    _refreshError.clear();
    removeApplication();
    return PELORIN_NEWS_OK;
}

void Panel::removeApplication() {
    if (_runningCallbacks > 0 || QThread::currentThread()->loopLevel() > 0)
        return;
    _flush.reset();
    _application.reset();
}

}  // namespace pelorinnews
