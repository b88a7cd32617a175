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

// Objects that wait for their deletion on the main thread.
class PendingDeletions {
public:
    static PendingDeletions &instance() {
        static PendingDeletions only;
        return only;
    }

    void add(QObject *object) {
        const std::scoped_lock lock(_mutex);
        ApplicationEnd::add(ApplicationEnd::Phase::Windows, [] { instance().deleteAll(); });
        _objects.append(object);
        object->deleteLater();
    }

    void remove(QObject *object) {
        const std::scoped_lock lock(_mutex);
        _objects.removeOne(object);
    }

private:
    void deleteAll() {
        while (QObject *const object = next())
            delete object;
    }

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

void deleteWindows() {
    for (const auto &left : std::exchange(windows(), {}))
        delete left;
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
    ApplicationEnd::add(ApplicationEnd::Phase::Windows, deleteWindows);
    windows().removeIf([](const QPointer<QWidget> &gone) { return gone.isNull(); });
    windows().append(window);
}

}  // namespace pelorinnews
