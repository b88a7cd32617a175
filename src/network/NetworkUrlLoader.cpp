#include "NetworkUrlLoader.h"

#include "NetworkThread.h"
#include "platform/ApplicationEnd.h"

#include <cstdlib>
#include <mutex>

namespace pelorinnews {

namespace {

/// The process-wide loader. It must end before Qt does. So it ends with the application object or,
/// if the process exits without destroying that object, with the module's own static objects.
class SharedLoader {
public:
    SharedLoader() = default;
    SharedLoader(const SharedLoader &) = delete;
    SharedLoader &operator=(const SharedLoader &) = delete;
    ~SharedLoader() { stop(); }

    std::shared_ptr<NetworkUrlLoader> get() {
        const std::lock_guard lock(_mutex);
        if (!_loader) {
            _loader = std::make_shared<NetworkUrlLoader>(NetworkUrlLoader::defaultMaxBody,
                                                         &stopBeforeLibraries);
            ApplicationEnd::add(ApplicationEnd::Phase::Downloads, [] { instance().stop(); });
        }
        return _loader;
    }

    static SharedLoader &instance() {
        static SharedLoader shared;
        return shared;
    }

private:
    /// If the process exits without destroying its application object, transfers must end before
    /// the libraries' exit handlers run. So our handler is registered after the libraries'
    /// handlers: exit handlers run last in, first out.
    static void stopBeforeLibraries() {
        std::atexit([] { instance().stop(); });
    }

    void stop() {
        std::shared_ptr<NetworkUrlLoader> stopping;
        {
            const std::lock_guard lock(_mutex);
            stopping.swap(_loader);
        }
        if (stopping)
            stopping->stop();
    }

    std::mutex _mutex;
    std::shared_ptr<NetworkUrlLoader> _loader;
};

}  // namespace

std::shared_ptr<UrlLoader> UrlLoader::shared() {
    return SharedLoader::instance().get();
}

NetworkUrlLoader::NetworkUrlLoader(qint64 maxBody, std::function<void()> beforeLibrariesAreUsed,
                                   std::chrono::milliseconds maxDuration)
    : _thread(std::make_shared<NetworkThread>(maxBody, maxDuration,
                                              std::move(beforeLibrariesAreUsed))) {}

NetworkUrlLoader::~NetworkUrlLoader() {
    stop();
}

void NetworkUrlLoader::sendAsynchronousRequest(const QUrl &url, std::chrono::seconds idleTimeout,
                                               QThreadPool *queue, UrlCompletion completion) {
    _thread->add({url, idleTimeout, queue, std::move(completion)});
}

void NetworkUrlLoader::stop() {
    if (_thread->stop(stopTimeout))
        return;
    // Destroying a running QThread ends the process: leak it instead.
    static_cast<void>(new std::shared_ptr<NetworkThread>(_thread));
}

}  // namespace pelorinnews
