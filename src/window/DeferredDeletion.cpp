#include "DeferredDeletion.h"

#include "platform/ApplicationEnd.h"

#include <QCoreApplication>
#include <QList>
#include <QPointer>
#include <QWidget>

#include <mutex>
#include <utility>

namespace pelorinnews {

namespace {

// One action for both, so that the windows are deleted before the objects in `PendingDeletions`.
void deleteWindowsAndPending();

// Objects that wait for their deletion on the main thread.
class PendingDeletions {
public:
    static PendingDeletions &instance() {
        static PendingDeletions only;
        return only;
    }

    void add(QObject *object) {
        const std::scoped_lock lock(_mutex);
        ApplicationEnd::add(ApplicationEnd::Phase::Windows, deleteWindowsAndPending);
        _objects.append(object);
        object->deleteLater();
    }

    void remove(QObject *object) {
        const std::scoped_lock lock(_mutex);
        _objects.removeOne(object);
    }

    void deleteAll() {
        while (QObject *const object = next())
            delete object;
    }

private:
    QObject *next() {
        const std::scoped_lock lock(_mutex);
        return _objects.isEmpty() ? nullptr : _objects.takeLast();
    }

    std::mutex _mutex;
    QList<QObject *> _objects;
};

QList<QPointer<QWidget>> &windows() {
    static QList<QPointer<QWidget>> all;
    return all;
}

void deleteWindowsAndPending() {
    for (const auto &left : std::exchange(windows(), {}))
        delete left;
    PendingDeletions::instance().deleteAll();
}

}  // namespace

void deleteOnMainThread(QObject *object) {
    if (QCoreApplication::instance())
        PendingDeletions::instance().add(object);
    else
        delete object;
}

void cancelDeferredDeletion(QObject *object) {
    PendingDeletions::instance().remove(object);
}

void deleteWithApplication(QWidget *window) {
    ApplicationEnd::add(ApplicationEnd::Phase::Windows, deleteWindowsAndPending);
    windows().removeIf([](const QPointer<QWidget> &gone) { return gone.isNull(); });
    windows().append(window);
}

}  // namespace pelorinnews
