// The C functions: each checks that it is called on the panel's thread.

#include "Panel.h"

#include <QThread>

#include <atomic>
#include <thread>

namespace pelorinnews {

namespace {

// The thread that may call; the default value where none has been chosen.
std::atomic<std::thread::id> owner;

// Makes Qt create its thread-local key when the library is loaded. Where GLib has created its own
// key before, each thread of Qt's that ends makes GLib complain: the keys' values are destroyed in
// the order in which the keys were created, and Qt's still needs GLib's.
[[maybe_unused]] const QThread *const loadingThread = QThread::currentThread();

// Never destroyed: the panel may outlive `main` where a host forgets to end it.
Panel &panel() {
    static auto *const only = new Panel;
    return *only;
}

bool isOnPanelThread() {
    return owner.load() == std::this_thread::get_id();
}

/// Makes the calling thread the panel's if there is none yet.
bool claimThread() {
    if (QCoreApplication::instance() &&
        QCoreApplication::instance()->thread() != QThread::currentThread())
        return false;
    std::thread::id none;
    return owner.compare_exchange_strong(none, std::this_thread::get_id()) || isOnPanelThread();
}

// Calls that need a panel. Without an owner there is none.
template <class... Parameters, class... Arguments>
int call(int (Panel::*operation)(Parameters...), Arguments... arguments) {
    if (owner.load() == std::thread::id())
        return PELORIN_NEWS_NOT_CREATED;
    return isOnPanelThread() ? (panel().*operation)(arguments...) : PELORIN_NEWS_WRONG_THREAD;
}

// Calls that may come before there is a panel.
template <class... Parameters, class... Arguments>
int callClaiming(int (Panel::*operation)(Parameters...), Arguments... arguments) {
    return claimThread() ? (panel().*operation)(arguments...) : PELORIN_NEWS_WRONG_THREAD;
}

}  // namespace

}  // namespace pelorinnews

using pelorinnews::call;
using pelorinnews::callClaiming;
using pelorinnews::Panel;

int pelorin_news_set_identity(const char *bundleIdentifier, const char *organizationName,
                              const char *applicationName) {
    return callClaiming(&Panel::setIdentity, bundleIdentifier, organizationName, applicationName);
}

int pelorin_news_set_preference(const char *key, const char *value) {
    return callClaiming(&Panel::setPreference, key, value);
}

int pelorin_news_set_logger(pelorin_news_logger logger, void *context) {
    return callClaiming(&Panel::setLogger, logger, context);
}

int pelorin_news_create() {
    return callClaiming(&Panel::create);
}

int pelorin_news_show() {
    return call(&Panel::show);
}

int pelorin_news_refresh() {
    return call(&Panel::refresh);
}

int pelorin_news_get_status(pelorin_news_status *status) {
    return call(&Panel::getStatus, status);
}

int pelorin_news_set_status_callback(pelorin_news_callback callback, void *context) {
    return call(&Panel::setStatusCallback, callback, context);
}

int pelorin_news_exit() {
    const int result = call(&Panel::exit);
    if (result == PELORIN_NEWS_OK)
        pelorinnews::owner = std::thread::id();
    return result;
}
