// Life cycle: creation, refreshing, the window's opening and closing, exit.

#include "OlvNewsWindowController.h"

#include "DeferredDeletion.h"
#include "KeptGeometry.h"
#include "ReducedMotion.h"
#include "WindowDescription.h"
#include "WindowEdges.h"
#include "WindowPlacement.h"
#include "logging/LogMessage.h"
#include "logging/LogVocabulary.h"
#include "platform/MainQueue.h"
#include "platform/ModuleBundle.h"
#include "platform/OlvLocalization.h"
#include "platform/SleepAwareTimer.h"

#include <QApplication>
#include <QEvent>
#include <QScreen>
#include <QTimerEvent>
#include <QWindow>
#include <QtMath>

#include <utility>

namespace pelorinnews {

namespace {

// A window that is shown but not activated for this long (focus-stealing prevention) is treated as
// if it had been activated.
constexpr std::chrono::milliseconds exposedTimeout{250};

// On the first show, the window's width and height grow to at least those of the primary screen
// divided by this number.
constexpr double firstShowDivisor = 2.5;

// How long `exit` may wait for the desktop to confirm that it has shown or withdrawn announcements.
constexpr std::chrono::milliseconds announcementTimeout{250};

// Whether a news window of this process was shown before.
bool shownOnce = false;

// The height of the options area, if the first show is still to fold it. Until then, the area need
// not be on the screen.
int areaToFold() {
    return shownOnce ? 0 : OptionsFold::foldHeight;
}

bool runsOnGuiThread() {
    return qobject_cast<QApplication *>(QCoreApplication::instance()) && MainQueue::isMainThread();
}

}  // namespace

OlvNewsWindowController::OlvNewsWindowController(QString windowNibName, WindowServices services)
    : _windowNibName(std::move(windowNibName)), _services(std::move(services)) {}

OlvNewsWindowController::~OlvNewsWindowController() {
    cancelDeferredDeletion(this);
    _optionsFold.reset();
    delete _loadedWindow;
}

std::shared_ptr<OlvNewsWindowController> OlvNewsWindowController::initWithWindowNibName(
    const QString &windowNibName, WindowServices services) {
    if (!runsOnGuiThread())
        return nullptr;
    std::shared_ptr<OlvNewsWindowController> controller(
        new OlvNewsWindowController(windowNibName, std::move(services)), deleteOnMainThread);
    controller->initWithWindow();
    // The caller gets a `shared_ptr` with its own control block, so that its references are counted
    // apart from those of the timer and of pending work.
    const auto outside = std::make_shared<std::shared_ptr<OlvNewsWindowController>>(controller);
    const std::shared_ptr<OlvNewsWindowController> reference(outside, controller.get());
    controller->_outsideReference = reference;
    return reference;
}

std::shared_ptr<OlvNewsWindowController> OlvNewsWindowController::initWithWindowNibName(
    const QString &windowNibName) {
    return runsOnGuiThread() ? initWithWindowNibName(windowNibName, WindowServices::standard())
                             : nullptr;
}

void OlvNewsWindowController::initWithWindow() {
    _localization = std::make_unique<OlvLocalization>();
    _localization->setBundle(ModuleBundle::resourceFolder());
    _localization->setTable(QStringLiteral("Localizable"));
    _configuration = std::make_unique<OlvNewsConfiguration>();
    _newsCache = std::make_shared<OlvNewsCacheFiltered>();

    _newsCache->setFeedBaseURL(_configuration->feedBaseURL());
    _newsCache->setDesiredLocale(_configuration->feedLocale());
    _newsCache->setFeedType(_configuration->feedType());
    _newsCache->setLastViewing(_configuration->lastViewing());
    applyFilter();

    if (_configuration->showOnStart())
        refreshCacheShowingWindow();
    else
        refreshCache();

    // The timer keeps the controller alive until `exit`.
    _refreshTimer = std::make_unique<SleepAwareTimer>(
        _configuration->refreshInterval(),
        [self = shared_from_this()] { self->onRefreshTimerFire(); });
    _services.notificationCenter->setDelegate(weak_from_this());
    _plFinder = _services.makeFinder();
}

OlvNewsWindow *OlvNewsWindowController::window() {
    if (!_loadedWindow)
        loadWindow();
    return _loadedWindow;
}

void OlvNewsWindowController::loadWindow() {
    using Controller = OlvNewsWindowController;
    const auto action = [this](void (Controller::*operation)()) {
        return [this, operation] {
            if (const auto self = weak_from_this().lock())
                (this->*operation)();
        };
    };
    const WindowDescription::Actions actions = {
        {QStringLiteral("onPreviousItem"), action(&Controller::onPreviousItem)},
        {QStringLiteral("onNextItem"), action(&Controller::onNextItem)},
        {QStringLiteral("onShowOnStartChanged"), action(&Controller::onShowOnStartChanged)},
        {QStringLiteral("onDisplayContentTypeChanged"),
         action(&Controller::onDisplayContentTypeChanged)},
        {QStringLiteral("onDisplayContentFromChanged"),
         action(&Controller::onDisplayContentFromChanged)},
        {QStringLiteral("onOptionsButton"), action(&Controller::onOptionsButton)},
    };
    auto made = WindowDescription::load(_windowNibName, actions);
    if (!made)
        return;
    _loadedWindow = made.release();
    _loadedWindow->installEventFilter(this);
    connect(_loadedWindow, &OlvNewsWindow::aboutToBeDestroyed, this, [this] { windowIsDeleted(); });
    connectOutlets();
    windowDidLoad();
    _loadedWindow->updateMinimumWidth();
    restoreGeometry();
    deleteWithApplication(_loadedWindow);
}

// The kept size is the one with the options area open.
void OlvNewsWindowController::restoreGeometry() {
    WindowPlacement::centre(*_loadedWindow);
    const auto kept = KeptGeometry(_services.stateFolder).read();
    if (!kept)
        return;
    const int folded = _optionsFold && !_optionsFold->isOpen() ? OptionsFold::foldHeight : 0;
    WindowPlacement::restore(*_loadedWindow, kept->size - QSize(0, folded), kept->place,
                             areaToFold());
}

// Only a size that the user has chosen is kept, not one that the desktop or the screen has set.
void OlvNewsWindowController::keepGeometry() {
    if (!_windowIsVisible || !_loadedWindow || !_optionsFold ||
        WindowEdges::areSetByDesktop(*_loadedWindow) || WindowEdges::spanScreen(*_loadedWindow))
        return;
    KeptGeometry(_services.stateFolder)
        .write({QSize(_loadedWindow->width(), _optionsFold->unfoldedHeight()),
                WindowPlacement::place(*_loadedWindow)});
}

void OlvNewsWindowController::connectOutlets() {
    const auto find = [this]<class Control>(QPointer<Control> &outlet, const char *name) {
        outlet = _loadedWindow->findChild<Control *>(QLatin1String(name));
    };
    find(_webView, "webView");
    find(_previousItem, "previousItem");
    find(_nextItem, "nextItem");
    find(_showOnStart, "showOnStart");
    find(_displayContentTypeLabel, "displayContentTypeLabel");
    find(_displayContentType, "displayContentType");
    find(_displayContentFromLabel, "displayContentFromLabel");
    find(_displayContentFrom, "displayContentFrom");
    find(_itemIndicator, "itemIndicator");
    find(_optionsLabel, "optionsLabel");
    find(_optionsButton, "optionsButton");
    _optionsFold = std::make_unique<OptionsFold>(
        _loadedWindow, _webView,
        _loadedWindow->findChild<QWidget *>(QStringLiteral("optionsArea")));
}

void OlvNewsWindowController::windowDidLoad() {
    initializeControls();
    if (shownOnce)
        adoptOptionsState();
}

// Other code may delete the window, too. Deleting an open window counts as closing it.
void OlvNewsWindowController::windowIsDeleted() {
    const auto self = weak_from_this().lock();
    if (self && _windowIsVisible)
        windowWillClose();
    _ordinaryGeometry = {};
    _optionsFold.reset();
    _loadedWindow.clear();
}

void OlvNewsWindowController::showWindow() {
    OlvNewsWindow *shown = window();
    if (!shown)
        return;
    // Restore the size that the window had when it was last closed. Since then, the desktop may
    // have changed it, in a late answer to a resize by `OptionsFold`.
    if (shown->isHidden() && _closedSize.isValid() && !WindowEdges::isMaximizedOrFullScreen(*shown))
        shown->resize(_closedSize);
    // The screen on which the window was closed may be gone.
    if (shown->isHidden()) {
        bringOntoScreen();
        askForReducedMotion();
    }
    shown->makeKeyAndOrderFront();
}

// The user may have changed the setting since the window was last open.
void OlvNewsWindowController::askForReducedMotion() {
    ReducedMotion::ask([controller = weak_from_this()](bool isReduced) {
        const auto self = controller.lock();
        if (self && self->_optionsFold)
            self->_optionsFold->setMotionReduced(isReduced);
    });
}

bool OlvNewsWindowController::eventFilter(QObject *watched, QEvent *event) {
    // Already released and waiting for deletion: ignore events.
    const auto self = weak_from_this().lock();
    if (self && watched == _loadedWindow) {
        switch (event->type()) {
            case QEvent::WindowActivate:
                // The event may arrive after the window was closed again.
                if (_loadedWindow->isVisible())
                    windowDidBecomeKey();
                break;
            case QEvent::Show:
                _loadedWindow->windowHandle()->installEventFilter(this);
                break;
            case QEvent::WindowStateChange:
                restoreOrdinaryGeometry();
                break;
            case QEvent::Close:
                windowWillClose();
                break;
            default:
                break;
        }
    }
    if (self && event->type() == QEvent::Expose && !_windowIsVisible && isOnScreen())
        _exposeTimer.start(static_cast<int>(exposedTimeout.count()), this);
    return QObject::eventFilter(watched, event);
}

void OlvNewsWindowController::timerEvent(QTimerEvent *event) {
    if (event->timerId() != _exposeTimer.timerId())
        return QObject::timerEvent(event);
    _exposeTimer.stop();
    const auto self = weak_from_this().lock();
    if (self && isOnScreen())
        windowDidBecomeKey();
}

bool OlvNewsWindowController::isOnScreen() const {
    return _loadedWindow && _loadedWindow->isVisible() && _loadedWindow->windowHandle() &&
           _loadedWindow->windowHandle()->isExposed();
}

void OlvNewsWindowController::windowDidBecomeKey() {
    if (_windowIsVisible)
        return;
    _exposeTimer.stop();
    _windowIsVisible = true;
    // The window's frame geometry is unknown until the window is exposed.
    bringOntoScreen();
    if (!std::exchange(shownOnce, true)) {
        enlargeOnFirstShow();
        toggleOptions([this] { bringOntoScreen(); });
    } else {
        catchUpWithOptionsState();
    }
    refreshControls();
    removeNotification();
}

void OlvNewsWindowController::bringOntoScreen() {
    if (!_loadedWindow)
        return;
    _loadedWindow->updateMinimumWidth();
    WindowPlacement::bringOntoScreen(*_loadedWindow, areaToFold());
}

void OlvNewsWindowController::enlargeOnFirstShow() {
    const QScreen *screen = QGuiApplication::primaryScreen();
    // The compositor decides the size of a tiled window.
    if (!_loadedWindow || !screen || WindowEdges::isTiled(_loadedWindow->windowHandle()))
        return;
    const QRect frame = _loadedWindow->frameGeometry();
    const auto atLeast = [](int length, int screenLength) {
        return qMax(length, qCeil(static_cast<float>(screenLength / firstShowDivisor)));
    };
    const QSize size(atLeast(frame.width(), screen->geometry().width()),
                     atLeast(frame.height(), screen->geometry().height()));
    const QSize growth = size - frame.size();
    // Keeps the window's lower-left corner in place.
    const QRect inner = _loadedWindow->geometry();
    _loadedWindow->setGeometry(inner.adjusted(0, -growth.height(), growth.width(), 0));
}

// Restores the normal geometry of a window that was closed maximized or full screen, because the
// desktop forgets that geometry when it closes such a window.
void OlvNewsWindowController::restoreOrdinaryGeometry() {
    if (!_ordinaryGeometry.isValid() || !_loadedWindow || _loadedWindow->isMinimized() ||
        WindowEdges::isMaximizedOrFullScreen(*_loadedWindow))
        return;
    _loadedWindow->setGeometry(std::exchange(_ordinaryGeometry, {}));
    bringOntoScreen();
}

void OlvNewsWindowController::windowWillClose() {
    _exposeTimer.stop();
    if (_optionsFold)
        _optionsFold->complete();
    keepGeometry();
    if (!_loadedWindow || !WindowEdges::isMaximizedOrFullScreen(*_loadedWindow))
        _closedSize = _loadedWindow ? _loadedWindow->size() : QSize();
    else if (!_ordinaryGeometry.isValid())
        _ordinaryGeometry = _loadedWindow->normalGeometry();
    _windowIsVisible = false;
    // Every item that is in the list when the window closes counts as viewed. `itemAtIndex` is
    // called only because it marks the item as viewed.
    for (quint64 index = 0; index < _newsCache->count(); ++index)
        static_cast<void>(_newsCache->itemAtIndex(index));
    statusChanged();
    if (std::exchange(_refreshOnClose, false))
        refreshCache();
}

void OlvNewsWindowController::exit() {
    _exited = true;
    if (_refreshTimer)
        _refreshTimer->invalidate();
    // Also close a window that was shown a moment ago and has not been activated yet.
    if (_loadedWindow && (_windowIsVisible || _loadedWindow->isVisible()))
        _loadedWindow->performClose();
    // The announcement stays only if this computer has exactly one copy of the host: a click on it
    // then leads back to the host. With none, several or an unknown number of copies, a click could
    // open anything.
    if (!_plFinder || _plFinder->result() != OlvFinderResultOne)
        removeNotification();
    _services.notificationCenter->flush(announcementTimeout);
    _plFinder.reset();
    _configuration->setLastViewing(_newsCache->lastViewing());
}

void OlvNewsWindowController::refreshCacheShowingWindow() {
    _newsCache->refresh([self = shared_from_this()](const std::optional<Error> &error) {
        self->showingRefreshEnded(error);
    });
}

void OlvNewsWindowController::refreshCache() {
    if (_windowIsVisible) {
        _refreshOnClose = true;
        return;
    }
    _newsCache->refresh([self = shared_from_this()](const std::optional<Error> &error) {
        self->backgroundRefreshEnded(error);
    });
}

bool OlvNewsWindowController::hasNewsInTheUsersLanguage() const {
    if (_newsCache->sinceLastViewingCount() == 0)
        return false;
    const QString retrieved = _newsCache->retrievedLocale();
    return !retrieved.isEmpty() && _configuration->feedLocale().startsWith(retrieved);
}

void OlvNewsWindowController::showingRefreshEnded(const std::optional<Error> &error) {
    if (hasNewsInTheUsersLanguage())
        MainQueue::dispatchAsync([self = shared_from_this()] { self->showNews(); });
    if (error)
        logMessage(LogLevelError, LogVocabulary::refreshContentShowingWindowFailed, *error);
    refreshEnded(error);
}

void OlvNewsWindowController::showNews() {
    // If the host has called `exit` and released the controller, nobody could close the window
    // again.
    if (_exited && _outsideReference.expired())
        return;
    if (_windowIsVisible)
        refreshControls();
    else
        showWindow();
}

void OlvNewsWindowController::backgroundRefreshEnded(const std::optional<Error> &error) {
    if (hasNewsInTheUsersLanguage())
        announceLatestItem();
    if (error)
        logMessage(LogLevelError, LogVocabulary::refreshContentFailed, *error);
    refreshEnded(error);
}

template <class... Arguments>
void OlvNewsWindowController::logMessage(std::int32_t level, QStringView format,
                                         const Arguments &...arguments) const {
    pelorinnews::logMessage(_logger.get(), level, format, arguments...);
}

}  // namespace pelorinnews
