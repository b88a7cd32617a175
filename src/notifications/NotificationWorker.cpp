#include "NotificationWorker.h"

#include <QThread>

#include <utility>

namespace pelorinnews {

namespace {

constexpr quint32 dismissed = 2;
constexpr quint32 closedByProgram = 3;
// How many times, and at which interval, to retry if the registry cannot be written.
constexpr int saveAttempts = 10;
constexpr std::chrono::milliseconds saveInterval{1000};
// Deliveries stop after this many servers have ended, until the next request. Otherwise the bus
// would restart a server that crashes on a delivery several times a second, for ever.
constexpr int maxLostServers = 3;
// We also receive signals about other programs' notifications; they must not fill our memory.
constexpr std::size_t maxRemembered = 64;

}  // namespace

NotificationWorker::NotificationWorker(NotificationSender origin,
                                       std::shared_ptr<NotificationList> notifications,
                                       std::shared_ptr<NotificationProgress> reports,
                                       Activated onActivation)
    : _sender(std::move(origin)),
      _registry(_sender.stateFolder),
      _list(std::move(notifications)),
      _progress(std::move(reports)),
      _activated(std::move(onActivation)),
      _saveTimer(this),
      _saveAttemptsLeft(saveAttempts) {
    _saveTimer.setSingleShot(true);
    _saveTimer.setInterval(saveInterval);
    connect(&_saveTimer, &QTimer::timeout, this, &NotificationWorker::advance);
}

void NotificationWorker::work() {
    _seenRequests = _progress->requests();
    _saveAttemptsLeft = saveAttempts;
    _lostServers = 0;
    connectIfNeeded();
    advance();
}

void NotificationWorker::stop() {
    _saveTimer.stop();
    _server.reset();
    QThread::currentThread()->quit();
}

void NotificationWorker::connectIfNeeded() {
    if (_server)
        return;
    _server = std::make_unique<NotificationServer>(_sender.applicationName, _sender.identifier,
                                                   _sender.actionLabel);
    connect(_server.get(), &NotificationServer::serverChanged, this,
            &NotificationWorker::serverChanged);
    connect(_server.get(), &NotificationServer::closed, this, &NotificationWorker::onClosed);
    connect(_server.get(), &NotificationServer::activated, this, &NotificationWorker::onActivated);
    connect(_server.get(), &NotificationServer::activationTokenReceived, this,
            [this](quint32 serverId, const QString &token) {
                if (_activationTokens.size() < maxRemembered)
                    _activationTokens[serverId] = token;
            });
    if (_server->open(_sender.busAddress))
        return;
    // Without a bus, no notification can be present on a server.
    _server.reset();
    _list->setServer(QString(), QString());
}

void NotificationWorker::serverChanged() {
    ++_generation;
    _presenting = false;
    if (std::exchange(_serverWasAsked, false))
        ++_lostServers;
    _closing = 0;
    _activationTokens.clear();
    _foreignClicks.clear();
    if (_server->isKnown()) {
        _list->setServer(_server->busId(), _server->owner());
    } else {
        // The bus is gone. The server object is emitting this signal, so delete it later.
        _server.release()->deleteLater();
        _list->setServer(QString(), QString());
    }
    advance();
}

void NotificationWorker::advance() {
    if (_server && _server->isKnown()) {
        save();
        withdraw();
        present();
    }
    _progress->report(_seenRequests, isBusy());
}

bool NotificationWorker::isBusy() const {
    if (!_server)
        return false;
    return !_server->isKnown() || _presenting || _closing > 0 || _saveTimer.isActive();
}

void NotificationWorker::save() {
    const auto change = _list->unsavedChange();
    if (!change)
        return;
    QStringList removed;
    if (const auto contents = _registry.apply(*change, &removed)) {
        _list->setSaved(*change, *contents);
        _saveAttemptsLeft = saveAttempts;
        _saveTimer.stop();
        decideForeignClicks(change->erased, removed);
        return;
    }
    if (_saveTimer.isActive())
        return;
    if (_saveAttemptsLeft > 0) {
        --_saveAttemptsLeft;
        _saveTimer.start();
    } else {
        // The registry could not be written, even with retries. So we cannot know which process has
        // to handle these clicks: drop them.
        _foreignClicks.clear();
    }
}

void NotificationWorker::withdraw() {
    for (const quint32 serverId : _list->takeWithdrawn())
        close(serverId);
}

void NotificationWorker::close(quint32 serverId) {
    ++_closing;
    _server->close(serverId, [this, serverId, asked = _generation] {
        if (asked != _generation)
            return;
        --_closing;
        _list->end(serverId);
        advance();
    });
}

void NotificationWorker::present() {
    if (_presenting || _lostServers >= maxLostServers || !_list->hasWaiting())
        return;
    _presenting = true;
    _serverWasAsked = !_server->owner().isEmpty();
    // Query the traits before the first waiting notification; send each further notification only
    // after the reply to the previous one. So a server that hangs does not later show notifications
    // that were withdrawn in the meantime.
    _server->askTraits([this, asked = _generation](const auto &traits) {
        if (asked != _generation)
            return;
        if (traits && !_server->owner().isEmpty()) {
            presentNext(*traits);
            return;
        }
        // The delivery is retried when a server appears, or with the next request.
        _presenting = false;
        _progress->report(_seenRequests, isBusy());
    });
}

void NotificationWorker::presentNext(const NotificationServer::Traits &traits) {
    const auto notification = _list->takeWaiting();
    if (!notification) {
        _presenting = false;
        advance();
        return;
    }
    _closedEarly.clear();
    _activatedEarly.clear();
    _server->notify(*notification, traits,
                    [this, asked = _generation, identity = notification->identity, traits](
                        NotificationServer::Outcome outcome, quint32 serverId) {
                        if (asked == _generation)
                            onSent(identity, outcome, serverId, traits);
                    });
}

void NotificationWorker::onSent(const QString &identity, NotificationServer::Outcome outcome,
                                quint32 serverId, const NotificationServer::Traits &traits) {
    if (outcome == NotificationServer::Outcome::ServerGone) {
        // Next, the bus reports the new owner of the server's name; `serverChanged` then presents
        // the notification again.
        _list->setUnsent(identity);
        _presenting = false;
        _progress->report(_seenRequests, isBusy());
        return;
    }
    if (outcome == NotificationServer::Outcome::Refused) {
        _list->drop(identity);
        presentNext(traits);
        return;
    }
    _list->setSent(identity, serverId, _server->connectionName());
    save();
    if (_activatedEarly.contains(serverId))
        onActivated(serverId);
    else if (_closedEarly.contains(serverId))
        _list->end(serverId);
    withdraw();
    presentNext(traits);
}

std::optional<RegistryEntry> NotificationWorker::findOwn(quint32 serverId) {
    auto entry = _list->find(serverId);
    if (entry)
        return entry;
    // Another process of this host may have delivered the notification since we last read the
    // registry.
    if (const auto contents = _registry.read())
        _list->merge(*contents);
    return _list->find(serverId);
}

void NotificationWorker::onClosed(quint32 serverId, quint32 reason) {
    // Keep an expired notification: it may still be in the desktop's list, and in any case the user
    // has not reacted to it. If it were forgotten, the same content would be announced again.
    if (reason != dismissed && reason != closedByProgram)
        return;
    if (findOwn(serverId)) {
        _list->end(serverId);
        advance();
        return;
    }
    if (_closedEarly.size() < maxRemembered)
        _closedEarly.insert(serverId);
}

void NotificationWorker::onActivated(quint32 serverId) {
    const auto entry = findOwn(serverId);
    if (!entry) {
        if (_activatedEarly.size() < maxRemembered)
            _activatedEarly.insert(serverId);
        return;
    }
    // A click ends the notification, no matter which process handles the click. The server often
    // reports the notification as closed right after.
    _list->end(serverId);
    const bool isOurs = entry->sender == _server->connectionName();
    if (!isOurs)
        _foreignClicks.emplace(entry->notification.identity, *entry);
    save();
    if (isOurs)
        activate(*entry);
}

void NotificationWorker::decideForeignClicks(const QStringList &erased,
                                             const QStringList &removed) {
    for (const QString &identity : erased) {
        const auto click = _foreignClicks.extract(identity);
        // Every process of this host may receive the click; the one whose change erased the entry
        // from the registry handles it.
        if (click.empty() || !removed.contains(identity))
            continue;
        // If the process that delivered the notification is still on the bus, that process handles
        // the click itself.
        const RegistryEntry entry = click.mapped();
        _server->askIsOnBus(entry.sender, [this, entry, asked = _generation](bool isOnBus) {
            if (asked == _generation && !isOnBus)
                activate(entry);
        });
    }
}

void NotificationWorker::activate(const RegistryEntry &entry) {
    UserNotification notification = entry.notification;
    const auto token = _activationTokens.extract(entry.serverId);
    if (!token.empty())
        notification.activationToken = token.mapped();
    // Some desktops do not close a clicked notification by themselves.
    close(entry.serverId);
    if (!entry.withdrawn)
        _activated(notification);
}

}  // namespace pelorinnews
