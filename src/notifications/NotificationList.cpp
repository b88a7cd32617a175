#include "NotificationList.h"

#include <QUuid>

#include <algorithm>

namespace pelorinnews {

void NotificationList::add(const UserNotification &notification, Presentation presentation) {
    Item item;
    item.entry.notification = notification;
    item.entry.notification.identity = QUuid::createUuid().toString(QUuid::WithoutBraces);
    item.entry.notification.activationToken.clear();
    item.state = presentation == Presentation::Asked ? State::Waiting : State::Unasked;

    const auto waits = [](const Item &other) {
        return other.state == State::Waiting || other.state == State::Unasked;
    };
    const std::lock_guard lock(_mutex);
    _items.push_back(std::move(item));
    if (static_cast<std::size_t>(std::count_if(_items.begin(), _items.end(), waits)) > maxWaiting)
        _items.erase(std::find_if(_items.begin(), _items.end(), waits));
}

QList<UserNotification> NotificationList::delivered() const {
    const std::lock_guard lock(_mutex);
    QList<UserNotification> notifications;
    for (const Item &item : _items) {
        if (!item.entry.withdrawn)
            notifications.append(item.entry.notification);
    }
    return notifications;
}

bool NotificationList::remove(const QString &identity) {
    const std::lock_guard lock(_mutex);
    const auto item = findItem(identity);
    if (item == _items.end() || item->entry.withdrawn)
        return false;
    if (item->state == State::Unasked || item->state == State::Waiting) {
        _items.erase(item);
        return false;
    }
    item->entry.withdrawn = true;
    item->saved = false;
    return true;
}

std::vector<UserNotification> NotificationList::unasked() const {
    const std::lock_guard lock(_mutex);
    std::vector<UserNotification> notifications;
    for (const Item &item : _items) {
        if (item.state == State::Unasked)
            notifications.push_back(item.entry.notification);
    }
    return notifications;
}

void NotificationList::answer(const QString &identity, bool present) {
    const std::lock_guard lock(_mutex);
    const auto item = findItem(identity);
    if (item == _items.end() || item->state != State::Unasked)
        return;
    if (present)
        item->state = State::Waiting;
    else
        _items.erase(item);
}

bool NotificationList::isEmpty() const {
    const std::lock_guard lock(_mutex);
    return _items.empty();
}

void NotificationList::merge(const RegistryContents &contents) {
    const std::lock_guard lock(_mutex);
    mergeLocked(contents);
}

void NotificationList::mergeLocked(const RegistryContents &contents) {
    if (contents.serial < _serial)
        return;
    _serial = contents.serial;
    const bool isOfThisServer = contents.bus == _bus && contents.server == _server;
    if (_serverKnown && !isOfThisServer) {
        _fileIsOfAnotherServer = !contents.entries.empty();
        return;
    }
    _bus = contents.bus;
    _server = contents.server;

    // The file's entries come first, in the order in the file, which is the order of delivery and
    // the same for all processes. An entry that was in the file and is now missing from it was
    // ended by another process.
    Items merged;
    for (const RegistryEntry &entry : contents.entries) {
        if (_erased.contains(entry.notification.identity))
            continue;
        const auto known = findItem(entry.notification.identity);
        if (known == _items.end()) {
            merged.push_back({entry, State::Present, true, false});
            continue;
        }
        known->entry.withdrawn = known->entry.withdrawn || entry.withdrawn;
        known->saved = known->entry.withdrawn == entry.withdrawn;
        merged.push_back(std::move(*known));
        _items.erase(known);
    }
    for (Item &item : _items) {
        if (item.state != State::Present || !item.saved)
            merged.push_back(std::move(item));
    }
    _items = std::move(merged);
}

void NotificationList::setServer(const QString &newBus, const QString &newServer) {
    const std::lock_guard lock(_mutex);
    _serverKnown = true;
    if (_bus == newBus && _server == newServer)
        return;
    _bus = newBus;
    _server = newServer;
    _erased.clear();
    std::erase_if(_items, [this](const Item &item) {
        const bool wasPresent = item.state == State::Present;
        _fileIsOfAnotherServer = _fileIsOfAnotherServer || wasPresent;
        return wasPresent || (item.state == State::Sending && item.entry.withdrawn);
    });
    for (Item &item : _items) {
        if (item.state == State::Sending)
            item.state = State::Waiting;
    }
}

bool NotificationList::hasWaiting() const {
    const std::lock_guard lock(_mutex);
    return std::any_of(_items.begin(), _items.end(),
                       [](const Item &item) { return item.state == State::Waiting; });
}

std::optional<UserNotification> NotificationList::takeWaiting() {
    const std::lock_guard lock(_mutex);
    const auto item = std::find_if(_items.begin(), _items.end(), [](const Item &candidate) {
        return candidate.state == State::Waiting;
    });
    if (item == _items.end())
        return std::nullopt;
    item->state = State::Sending;
    return item->entry.notification;
}

void NotificationList::setSent(const QString &identity, quint32 serverId, const QString &sender) {
    const std::lock_guard lock(_mutex);
    const auto item = findItem(identity);
    if (item == _items.end())
        return;
    item->state = State::Present;
    item->entry.serverId = serverId;
    item->entry.sender = sender;
}

void NotificationList::setUnsent(const QString &identity) {
    const std::lock_guard lock(_mutex);
    const auto item = findItem(identity);
    if (item == _items.end())
        return;
    if (item->entry.withdrawn)
        _items.erase(item);
    else
        item->state = State::Waiting;
}

std::vector<quint32> NotificationList::takeWithdrawn() {
    const std::lock_guard lock(_mutex);
    std::vector<quint32> ids;
    for (Item &item : _items) {
        if (item.state != State::Present || !item.entry.withdrawn || item.closing)
            continue;
        item.closing = true;
        ids.push_back(item.entry.serverId);
    }
    return ids;
}

std::optional<RegistryEntry> NotificationList::find(quint32 serverId) const {
    const std::lock_guard lock(_mutex);
    for (const Item &item : _items) {
        if (item.state == State::Present && item.entry.serverId == serverId)
            return item.entry;
    }
    return std::nullopt;
}

void NotificationList::end(quint32 serverId) {
    const std::lock_guard lock(_mutex);
    const auto item = std::find_if(_items.begin(), _items.end(), [serverId](const Item &candidate) {
        return candidate.state == State::Present && candidate.entry.serverId == serverId;
    });
    if (item == _items.end())
        return;
    _erased.append(item->entry.notification.identity);
    _items.erase(item);
}

void NotificationList::drop(const QString &identity) {
    const std::lock_guard lock(_mutex);
    const auto item = findItem(identity);
    if (item != _items.end())
        _items.erase(item);
}

std::optional<RegistryChange> NotificationList::unsavedChange() const {
    const std::lock_guard lock(_mutex);
    RegistryChange change{_bus, _server, _serial, _erased, {}};
    for (const Item &item : _items) {
        if (item.state == State::Present && !item.saved)
            change.put.push_back(item.entry);
    }
    if (change.erased.isEmpty() && change.put.empty() && !_fileIsOfAnotherServer)
        return std::nullopt;
    return change;
}

void NotificationList::setSaved(const RegistryChange &change, const RegistryContents &contents) {
    const std::lock_guard lock(_mutex);
    for (const QString &identity : change.erased)
        _erased.removeAll(identity);
    _fileIsOfAnotherServer = false;
    mergeLocked(contents);
}

NotificationList::Items::iterator NotificationList::findItem(const QString &identity) {
    return std::find_if(_items.begin(), _items.end(), [&identity](const Item &item) {
        return item.entry.notification.identity == identity;
    });
}

}  // namespace pelorinnews
