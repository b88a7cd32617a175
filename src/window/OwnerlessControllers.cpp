#include "OwnerlessControllers.h"

#include "OlvNewsWindowController.h"

#include <QCoreApplication>
#include <QList>
#include <QPointer>

#include <mutex>
#include <utility>

namespace pelorinnews {

namespace {

// Controllers that wait for their deletion on the main thread.
class Abandoned {
public:
    static Abandoned &instance() {
        static Abandoned abandoned;
        return abandoned;
    }

    void add(OlvNewsWindowController *controller) {
        const std::scoped_lock lock(_mutex);
        if (_controllers.isEmpty())
            qAddPostRoutine([] { instance().destroyAll(); });
        _controllers.append(controller);
        controller->deleteLater();
    }

    void remove(OlvNewsWindowController *controller) {
        const std::scoped_lock lock(_mutex);
        _controllers.removeOne(controller);
    }

private:
    void destroyAll() {
        while (OlvNewsWindowController *const controller = next())
            delete controller;
    }

    OlvNewsWindowController *next() {
        const std::scoped_lock lock(_mutex);
        return _controllers.isEmpty() ? nullptr : _controllers.takeLast();
    }

    std::mutex _mutex;
    QList<OlvNewsWindowController *> _controllers;
};

}  // namespace

void destroyOnMainThread(OlvNewsWindowController *controller) {
    if (QCoreApplication::instance())
        Abandoned::instance().add(controller);
    else
        delete controller;
}

void destroyWithApplication(OlvNewsWindow *window) {
    static QList<QPointer<OlvNewsWindow>> windows;
    if (windows.isEmpty())
        qAddPostRoutine([] {
            for (const auto &left : std::exchange(windows, {}))
                delete left;
        });
    windows.removeIf([](const QPointer<OlvNewsWindow> &gone) { return gone.isNull(); });
    windows.append(window);
}

void forgetOwnerless(OlvNewsWindowController *controller) {
    Abandoned::instance().remove(controller);
}

}  // namespace pelorinnews
