#include "OlvNewsController.h"

#include "platform/MainQueue.h"
#include "window/OlvNewsWindowController.h"

#include <QCoreApplication>

namespace pelorinnews {

namespace {

Error creationError(const QString &text) {
    return {QStringLiteral("com.Olvane.PelorinNews.ErrorDomain"),
            -1,
            {{Error::underlyingErrorKey(), text}}};
}

}  // namespace

// Pending work may keep the window controller for some time yet.
OlvNewsController::~OlvNewsController() {
    setChangeCallback({});
}

std::shared_ptr<OlvNewsController> OlvNewsController::init(Error *error) {
    if (!QCoreApplication::instance()) {
        if (error)
            *error = creationError(QStringLiteral("Creating NewsController base failed."));
        return nullptr;
    }
    std::shared_ptr<OlvNewsController> controller(new OlvNewsController);
    controller->_windowController =
        OlvNewsWindowController::initWithWindowNibName(QStringLiteral("OlvNewsWindowController"));
    if (controller->_windowController || !error)
        return controller;
    *error = creationError(QStringLiteral("Failed to create NewsWindowController."));
    return nullptr;
}

void OlvNewsController::show() {
    if (!_windowController)
        return;
    _windowController->showWindow();
    // Bring the window to the front again after the current event, which may itself bring the host
    // to the front.
    MainQueue::dispatchAsync([self = shared_from_this()] {
        if (OlvNewsWindow *window = self->_windowController->window())
            window->makeKeyAndOrderFront();
    });
}

void OlvNewsController::exit() {
    if (_windowController)
        _windowController->exit();
}

void OlvNewsController::setLogger(std::shared_ptr<OlvLogger> logger) {
    if (_windowController)
        _windowController->setLogger(std::move(logger));
}

void OlvNewsController::setDelegate(std::shared_ptr<void> delegate) {
    _delegate = std::move(delegate);
}

qint64 OlvNewsController::unreadCount() const {
    return _windowController ? _windowController->newsCache().sinceLastViewingCount() : 0;
}

std::optional<NewsStatus::Headline> OlvNewsController::latestItem() const {
    if (!_windowController)
        return std::nullopt;
    const auto item = _windowController->newsCache().peekAtLatestItem();
    return item ? std::optional(Headline{item->title(), item->date()}) : std::nullopt;
}

std::optional<NewsStatus::Refresh> OlvNewsController::lastRefresh() const {
    return _windowController ? _windowController->lastRefresh() : std::nullopt;
}

void OlvNewsController::setChangeCallback(std::function<void()> callback) {
    if (_windowController)
        _windowController->setStatusCallback(std::move(callback));
}

void OlvNewsController::refreshNow() {
    if (_windowController)
        _windowController->refreshNow();
}

}  // namespace pelorinnews
