#include "NotificationWorker.h"

#include <QThread>

#include <utility>

namespace pelorinnews {

namespace {

constexpr quint32 dismissed = 2;
constexpr quint32 closedByProgram = 3;
// Retries if the registry cannot be written: how many, and their interval in milliseconds.
constexpr int saveAttempts = 10;
constexpr int saveInterval = 1000;
// We also receive signals about other programs' notifications; they must not fill our memory.
constexpr std::size_t maximumRemembered = 64;

}  // namespace

NotificationWorker::NotificationWorker(NotificationSender origin,
                                       std::shared_ptr<NotificationList> notifications,
                                       std::shared_ptr<NotificationProgress> reports,
                                       Activated onActivation)
    : sender(std::move(origin)),
      registry(sender.stateFolder),
      list(std::move(notifications)),
      progress(std::move(reports)),
      activated(std::move(onActivation)),
      saveTimer(this),
      saveAttemptsLeft(saveAttempts) {
    saveTimer.setSingleShot(true);
    saveTimer.setInterval(saveInterval);
    connect(&saveTimer, &QTimer::timeout, this, &NotificationWorker::advance);
}

void NotificationWorker::work() {
    seenRequests = progress->requests();
    saveAttemptsLeft = saveAttempts;
    connectIfNeeded();
    advance();
}

void NotificationWorker::stop() {
    saveTimer.stop();
    server.reset();
    QThread::currentThread()->quit();
}

void NotificationWorker::connectIfNeeded() {
    if (server)
        return;
    server = std::make_unique<NotificationServer>(sender.applicationName, sender.identifier,
                                                  sender.actionLabel);
    connect(server.get(), &NotificationServer::serverChanged, this,
            &NotificationWorker::serverChanged);
    connect(server.get(), &NotificationServer::closed, this, &NotificationWorker::onClosed);
    connect(server.get(), &NotificationServer::activated, this, &NotificationWorker::onActivated);
    connect(server.get(), &NotificationServer::activationTokenReceived, this,
            [this](quint32 id, const QString &token) {
                if (activationTokens.size() < maximumRemembered)
                    activationTokens[id] = token;
            });
    if (server->open(sender.busAddress))
        return;
    // Without a bus no notification can stand.
    server.reset();
    list->setServer(QString(), QString());
}

void NotificationWorker::serverChanged() {
    ++generation;
    presenting = false;
    closing = 0;
    closedEarly.clear();
    activatedEarly.clear();
    activationTokens.clear();
    foreignClicks.clear();
    if (server->isKnown()) {
        list->setServer(server->busId(), server->owner());
    } else {
        // The bus is gone. The server object is emitting this signal, so delete it later.
        server.release()->deleteLater();
        list->setServer(QString(), QString());
    }
    advance();
}

void NotificationWorker::advance() {
    if (server && server->isKnown()) {
        save();
        withdraw();
        present();
    }
    progress->report(seenRequests, isBusy());
}

bool NotificationWorker::isBusy() const {
    if (!server)
        return false;
    return !server->isKnown() || presenting || closing > 0 || saveTimer.isActive();
}

void NotificationWorker::save() {
    const auto change = list->unsavedChange();
    if (!change)
        return;
    QStringList removed;
    if (const auto contents = registry.apply(*change, &removed)) {
        list->setSaved(*change, *contents);
        saveAttemptsLeft = saveAttempts;
        saveTimer.stop();
        decideForeignClicks(change->erased, removed);
        return;
    }
    if (saveTimer.isActive())
        return;
    if (saveAttemptsLeft > 0) {
        --saveAttemptsLeft;
        saveTimer.start();
    } else {
        // No retry is left: too late to act on them.
        foreignClicks.clear();
    }
}

void NotificationWorker::withdraw() {
    for (const quint32 id : list->takeWithdrawn())
        close(id);
}

void NotificationWorker::close(quint32 id) {
    ++closing;
    server->close(id, [this, id, asked = generation] {
        if (asked != generation)
            return;
        --closing;
        list->end(id);
        advance();
    });
}

void NotificationWorker::present() {
    if (presenting || !list->hasWaiting())
        return;
    presenting = true;
    // Query the traits before the first waiting notification; send each further one after the reply
    // to the previous one. So a server that hangs does not later show notifications that were
    // withdrawn in the meantime.
    server->askTraits([this, asked = generation](const auto &traits) {
        if (asked != generation)
            return;
        if (traits && !server->owner().isEmpty()) {
            presentNext(*traits);
            return;
        }
        // Retried when a server appears, or with the next request.
        presenting = false;
        progress->report(seenRequests, isBusy());
    });
}

void NotificationWorker::presentNext(const NotificationServer::Traits &traits) {
    const auto notification = list->takeWaiting();
    if (!notification) {
        presenting = false;
        advance();
        return;
    }
    closedEarly.clear();
    activatedEarly.clear();
    server->notify(*notification, traits,
                   [this, asked = generation, identity = notification->identity, traits](
                       NotificationServer::Outcome outcome, quint32 id) {
                       if (asked == generation)
                           onSent(identity, outcome, id, traits);
                   });
}

void NotificationWorker::onSent(const QString &identity, NotificationServer::Outcome outcome,
                                quint32 id, const NotificationServer::Traits &traits) {
    if (outcome == NotificationServer::Outcome::ServerGone) {
        // The bus reports the server's new owner next, and `serverChanged` presents it again.
        list->setUnsent(identity);
        presenting = false;
        progress->report(seenRequests, isBusy());
        return;
    }
    if (outcome == NotificationServer::Outcome::Refused) {
        list->drop(identity);
        presentNext(traits);
        return;
    }
    list->setSent(identity, id, server->connectionName());
    save();
    if (activatedEarly.contains(id))
        onActivated(id);
    else if (closedEarly.contains(id))
        list->end(id);
    withdraw();
    presentNext(traits);
}

std::optional<RegistryEntry> NotificationWorker::findOwn(quint32 id) {
    auto entry = list->find(id);
    if (entry)
        return entry;
    // Another process of this host may have delivered it since we last read the registry.
    if (const auto contents = registry.read())
        list->merge(*contents);
    return list->find(id);
}

void NotificationWorker::onClosed(quint32 id, quint32 reason) {
    // An expired notification stays in the desktop's list, or at least was not answered. It must
    // not be announced again, so keep it.
    if (reason != dismissed && reason != closedByProgram)
        return;
    if (findOwn(id)) {
        list->end(id);
        advance();
        return;
    }
    if (presenting && closedEarly.size() < maximumRemembered)
        closedEarly.insert(id);
}

void NotificationWorker::onActivated(quint32 id) {
    const auto entry = findOwn(id);
    if (!entry) {
        if (presenting && activatedEarly.size() < maximumRemembered)
            activatedEarly.insert(id);
        return;
    }
    // A click ends the notification, no matter which process acts on it. The server often reports
    // it closed right after.
    list->end(id);
    const bool isOurs = entry->sender == server->connectionName();
    if (!isOurs)
        foreignClicks.emplace(entry->notification.identity, *entry);
    save();
    if (isOurs)
        activate(*entry);
}

void NotificationWorker::decideForeignClicks(const QStringList &erased,
                                             const QStringList &removed) {
    for (const QString &identity : erased) {
        const auto click = foreignClicks.extract(identity);
        // Every process of this host receives the click; the process whose change ended the
        // notification acts on it.
        if (click.empty() || !removed.contains(identity))
            continue;
        // While the process that delivered it is on the bus, that process handles the click itself.
        const RegistryEntry entry = click.mapped();
        server->askIsOnBus(entry.sender, [this, entry, asked = generation](bool isOnBus) {
            if (asked == generation && !isOnBus)
                activate(entry);
        });
    }
}

void NotificationWorker::activate(const RegistryEntry &entry) {
    UserNotification notification = entry.notification;
    const auto token = activationTokens.extract(entry.serverId);
    if (!token.empty())
        notification.activationToken = token.mapped();
    // Some desktops do not remove a clicked notification.
    close(entry.serverId);
    if (!entry.withdrawn)
        activated(notification);
}

}  // namespace pelorinnews
