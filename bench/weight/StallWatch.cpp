#include "StallWatch.h"

#include "ThreadClock.h"

#include <algorithm>

namespace pelorinnews::bench {

StallWatch::~StallWatch() {
    if (_thread.joinable())
        end();
}

void StallWatch::begin() {
    _longest = {};
    _processorBefore = threadMilliseconds();
    _waiting = false;
    _running = true;
    _thread = std::thread([this] {
        while (_running) {
            if (!_waiting.exchange(true))
                post();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
}

StallWatch::Stall StallWatch::end() {
    _running = false;
    _thread.join();
    return _longest;
}

void StallWatch::post() {
    QMetaObject::invokeMethod(
        &_receiver, [this, posted = Clock::now()] { arrived(posted); }, Qt::QueuedConnection);
}

void StallWatch::arrived(Clock::time_point posted) {
    const double processor = threadMilliseconds();
    const std::chrono::duration<double, std::milli> waited = Clock::now() - posted;
    _longest.clock = std::max(_longest.clock, waited.count());
    _longest.processor = std::max(_longest.processor, processor - _processorBefore);
    _processorBefore = processor;
    _waiting = false;
}

}  // namespace pelorinnews::bench
