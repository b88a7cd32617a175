#pragma once

#include <QObject>

#include <chrono>
#include <functional>
#include <memory>

namespace pelorinnews {

/// A repeating timer that also counts the time for which the computer sleeps.
///
/// The first firing comes one full interval after construction, the next ones at whole multiples of
/// the interval, however long a callback takes. Intervals that are missed while the computer sleeps
/// or the thread is busy give one firing, never several. A firing that falls due while the callback
/// still runs (in an event loop of its own) is dropped.
///
/// The callback, and whatever it holds, lives until `invalidate` or destruction. Both may happen
/// inside the callback itself (reentrant), which then finishes undisturbed and is destroyed right
/// after. Nothing fires afterwards.
///
/// Belongs to the thread that constructs it: it fires there, and needs that thread's event loop;
/// without one it never fires. If the system has alarms on a clock that runs during sleep, the
/// thread is not woken between firings. Otherwise the timer polls the clock once a minute.
class SleepAwareTimer final : public QObject {
public:
    using Clock = std::function<std::chrono::milliseconds()>;

    /// Intervals are clamped to these bounds: zero becomes one second, and more than a century
    /// becomes a century, so that no system clock overflows.
    static constexpr std::chrono::seconds minInterval{1};
    static constexpr std::chrono::seconds maxInterval{std::chrono::hours{24 * 36525}};

    /// `interval` is in seconds. An empty callback makes a timer that is invalid from the start.
    SleepAwareTimer(quint64 interval, std::function<void()> callback);

    /// A timer that polls `clock`, which must never run backwards: for systems whose alarms do not
    /// count sleep. An empty `clock` means the system's clock.
    SleepAwareTimer(quint64 interval, std::function<void()> callback, Clock clock);

    ~SleepAwareTimer() override;

    /// Stops the timer for good and releases the callback, which may destroy the timer's owner and
    /// so the timer. Idempotent. On another thread it takes effect as soon as the timer's own
    /// thread processes it.
    void invalidate();

    /// Whether the timer will fire again. To be called on the timer's own thread.
    [[nodiscard]] bool isValid() const { return _callback != nullptr; }

private:
    bool startAlarm();
    void startPolling();
    void alarmRang(int alarm);
    void pollClock();
    void armPolling(std::chrono::milliseconds now);
    void fire();

    std::chrono::seconds _interval;
    std::shared_ptr<const std::function<void()>> _callback;
    Clock _clock;
    std::chrono::milliseconds _deadline{};
    // What wakes the thread: a notifier for the system's alarm, or a timer that reads the clock.
    std::unique_ptr<QObject> _source;
    bool _firing = false;
};

}  // namespace pelorinnews
