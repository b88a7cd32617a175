#pragma once

#include "OlvNewsWebView.h"
#include "OlvNewsWindow.h"
#include "OptionsFold.h"
#include "WindowServices.h"
#include "feed/OlvNewsCacheFiltered.h"
#include "platform/GuardedSlot.h"
#include "rendering/NewsRenderer.h"
#include "settings/OlvNewsConfiguration.h"

#include "pelorinnews/NewsStatus.h"
#include "pelorinnews/OlvLogger.h"

#include <QAbstractButton>
#include <QBasicTimer>
#include <QComboBox>
#include <QLabel>
#include <QObject>
#include <QPointer>
#include <QRect>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace pelorinnews {

class OlvLocalization;
class SleepAwareTimer;

/// Drives the news window: owns settings, cache and refresh timer, shows the items, steps through
/// them, and stops everything on `exit`.
///
/// Kept alive by its creator, by its pending completions and, until `exit`, by its refresh timer.
/// Used on the main thread and always destroyed there; only the two refresh completions run on the
/// cache's queue. If the window description lacks a control, everything about that control is a
/// no-op.
class OlvNewsWindowController final : public QObject,
                                      public NavigationPolicyDelegate,
                                      public NotificationCenterDelegate,
                                      public std::enable_shared_from_this<OlvNewsWindowController> {
    Q_OBJECT

public:
    /// Creates a controller, starts its first refresh and its refresh timer. Null if there is no
    /// `QApplication`, or on another thread than its own. The window and the renderer are not
    /// created before they are needed. `windowNibName` names the window description.
    static std::shared_ptr<OlvNewsWindowController> initWithWindowNibName(
        const QString &windowNibName, WindowServices services);
    /// Calls the overload above with `WindowServices::standard()`. Where that overload would return
    /// null, returns null without creating the services.
    static std::shared_ptr<OlvNewsWindowController> initWithWindowNibName(
        const QString &windowNibName);
    ~OlvNewsWindowController() override;

    /// The window. Loaded from its description on first use, and again if other code has deleted
    /// the window; null if loading fails.
    [[nodiscard]] OlvNewsWindow *window();
    void showWindow();
    void setLogger(std::shared_ptr<OlvLogger> logger) { _logger.set(std::move(logger)); }
    void exit();

    // Window events.
    void windowDidLoad();
    void windowDidBecomeKey();
    void windowWillClose();

    // Refreshing the news cache.
    void onRefreshTimerFire() { refreshCache(); }
    void refreshCacheShowingWindow();
    void refreshCache();

    // For `NewsStatus`. The callback is empty if absent.
    void refreshNow();
    [[nodiscard]] std::optional<NewsStatus::Refresh> lastRefresh() const {
        return _lastRefresh.get();
    }
    void setStatusCallback(std::function<void()> callback);

    // Displaying the current item and navigating between items.
    void initializeControls();
    void displayItemAtCurrentIndex();
    void refreshControls();
    void onPreviousItem();
    void onNextItem();
    NavigationDecision webViewDecidePolicyForNavigationAction(NavigationType type,
                                                              const QUrl &url) override;

    // Announcements. The first two may be called on any thread.
    [[nodiscard]] QDateTime notificationDate() const;
    void removeNotification();
    bool userNotificationCenterShouldPresentNotification(
        const UserNotification &notification) override;
    void userNotificationCenterDidActivateNotification(
        const UserNotification &notification) override;

    // Options.
    void applyFilter();
    void onDisplayContentTypeChanged();
    void onDisplayContentFromChanged();
    void onShowOnStartChanged();
    void onOptionsButton();

    // Outlets, filled from the window description by object name; any may be absent.
    [[nodiscard]] OlvNewsWebView *webView() const { return _webView; }
    void setWebView(OlvNewsWebView *view) { _webView = view; }
    [[nodiscard]] QAbstractButton *previousItem() const { return _previousItem; }
    void setPreviousItem(QAbstractButton *button) { _previousItem = button; }
    [[nodiscard]] QAbstractButton *nextItem() const { return _nextItem; }
    void setNextItem(QAbstractButton *button) { _nextItem = button; }
    [[nodiscard]] QAbstractButton *showOnStart() const { return _showOnStart; }
    void setShowOnStart(QAbstractButton *button) { _showOnStart = button; }
    [[nodiscard]] QLabel *displayContentTypeLabel() const { return _displayContentTypeLabel; }
    void setDisplayContentTypeLabel(QLabel *label) { _displayContentTypeLabel = label; }
    [[nodiscard]] QComboBox *displayContentType() const { return _displayContentType; }
    void setDisplayContentType(QComboBox *menu) { _displayContentType = menu; }
    [[nodiscard]] QLabel *displayContentFromLabel() const { return _displayContentFromLabel; }
    void setDisplayContentFromLabel(QLabel *label) { _displayContentFromLabel = label; }
    [[nodiscard]] QComboBox *displayContentFrom() const { return _displayContentFrom; }
    void setDisplayContentFrom(QComboBox *menu) { _displayContentFrom = menu; }
    [[nodiscard]] QLabel *itemIndicator() const { return _itemIndicator; }
    void setItemIndicator(QLabel *label) { _itemIndicator = label; }
    [[nodiscard]] QLabel *optionsLabel() const { return _optionsLabel; }
    void setOptionsLabel(QLabel *label) { _optionsLabel = label; }
    [[nodiscard]] QAbstractButton *optionsButton() const { return _optionsButton; }
    void setOptionsButton(QAbstractButton *button) { _optionsButton = button; }

    [[nodiscard]] OlvNewsCacheFiltered &newsCache() const { return *_newsCache; }
    [[nodiscard]] OlvNewsConfiguration &configuration() const { return *_configuration; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    OlvNewsWindowController(QString windowNibName, WindowServices services);
    void initWithWindow();
    void loadWindow();
    void restoreGeometry();
    void keepGeometry();
    void connectOutlets();
    void windowIsDeleted();
    [[nodiscard]] bool isOnScreen() const;
    void bringOntoScreen();
    void askForReducedMotion();
    void enlargeOnFirstShow();
    [[nodiscard]] bool hasNewsInTheUsersLanguage() const;
    void showingRefreshEnded(const std::optional<Error> &error);
    void showNews();
    void backgroundRefreshEnded(const std::optional<Error> &error);
    void announceLatestItem();
    void refreshEnded(const std::optional<Error> &error);
    void statusChanged();
    [[nodiscard]] QString statusKey() const;
    [[nodiscard]] QString localized(const char *key) const;
    void setAccessibilityValue(const QString &text);
    void showOptionControls(bool visible);
    void toggleOptions(std::function<void()> finished);
    void optionsChanged(const QString &label);
    void adoptOptionsState();
    void turnOptionsButton();
    void restoreOrdinaryGeometry();
    void catchUpWithOptionsState();
    template <class... Arguments>
    void logMessage(std::int32_t level, QStringView format, const Arguments &...arguments) const;

    std::unique_ptr<OlvLocalization> _localization;
    std::unique_ptr<OlvNewsConfiguration> _configuration;
    std::shared_ptr<OlvNewsCacheFiltered> _newsCache;
    std::unique_ptr<SleepAwareTimer> _refreshTimer;
    quint64 _currentIndex = 0;
    bool _refreshOnClose = false;
    bool _windowIsVisible = false;
    bool _exited = false;
    /// The reference that `initWithWindowNibName` returned. Expires when the caller releases its
    /// last copy.
    std::weak_ptr<OlvNewsWindowController> _outsideReference;
    /// The window's size at the last close at which it was neither maximized nor full screen.
    QSize _closedSize;
    /// Normal geometry of a window that was closed maximized or full screen, to be restored when
    /// the window leaves that state.
    QRect _ordinaryGeometry;
    GuardedSlot<std::shared_ptr<OlvLogger>> _logger;
    GuardedSlot<std::optional<NewsStatus::Refresh>> _lastRefresh;
    /// Used on the main thread only; the refresh completions ask `_hasStatusCallback`.
    std::function<void()> _statusCallback;
    std::atomic<bool> _hasStatusCallback = false;
    std::shared_ptr<OlvPelorinFinder> _plFinder;

    QPointer<OlvNewsWebView> _webView;
    QPointer<QAbstractButton> _previousItem;
    QPointer<QAbstractButton> _nextItem;
    QPointer<QAbstractButton> _showOnStart;
    QPointer<QLabel> _displayContentTypeLabel;
    QPointer<QComboBox> _displayContentType;
    QPointer<QLabel> _displayContentFromLabel;
    QPointer<QComboBox> _displayContentFrom;
    QPointer<QLabel> _itemIndicator;
    QPointer<QLabel> _optionsLabel;
    QPointer<QAbstractButton> _optionsButton;

    QString _windowNibName;
    WindowServices _services;
    QPointer<OlvNewsWindow> _loadedWindow;
    std::unique_ptr<OptionsFold> _optionsFold;
    QBasicTimer _exposeTimer;
};

}  // namespace pelorinnews
