#include "SleepAwareTimer.h"

#include <QPointer>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <ctime>
#ifdef Q_OS_LINUX
#include <sys/timerfd.h>
#include <unistd.h>
#endif

namespace pelorinnews {

namespace {

constexpr std::chrono::milliseconds maxPollInterval = std::chrono::minutes{1};

std::chrono::seconds bounded(quint64 interval) {
    const auto max = static_cast<quint64>(SleepAwareTimer::maxInterval.count());
    const std::chrono::seconds seconds{static_cast<qint64>(std::min(interval, max))};
    return std::max(seconds, SleepAwareTimer::minInterval);
}

std::shared_ptr<const std::function<void()>> held(std::function<void()> callback) {
    if (!callback)
        return nullptr;
    return std::make_shared<const std::function<void()>>(std::move(callback));
}

std::chrono::milliseconds timeSinceBoot() {
#ifdef CLOCK_BOOTTIME
    constexpr clockid_t id = CLOCK_BOOTTIME;
#else
    constexpr clockid_t id = CLOCK_MONOTONIC;
#endif
    timespec now{};
    clock_gettime(id, &now);
    return std::chrono::milliseconds{qint64{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000};
}

#ifdef Q_OS_LINUX
/// The notifier of an alarm. Owns the alarm's descriptor.
class AlarmNotifier final : public QSocketNotifier {
public:
    explicit AlarmNotifier(int alarm) : QSocketNotifier(alarm, Read), _alarm(alarm) {}
    AlarmNotifier(const AlarmNotifier &) = delete;
    AlarmNotifier &operator=(const AlarmNotifier &) = delete;

    ~AlarmNotifier() override {
        // Disable before closing the descriptor: another file may get its number at once.
        setEnabled(false);
        ::close(_alarm);
    }

private:
    int _alarm;
};
#endif

}  // namespace

SleepAwareTimer::SleepAwareTimer(quint64 interval, std::function<void()> callback)
    : _interval(bounded(interval)), _callback(held(std::move(callback))), _clock(timeSinceBoot) {
    if (_callback && !startAlarm())
        startPolling();
}

SleepAwareTimer::SleepAwareTimer(quint64 interval, std::function<void()> callback, Clock clock)
    : _interval(bounded(interval)),
      _callback(held(std::move(callback))),
      _clock(clock ? std::move(clock) : Clock(timeSinceBoot)) {
    if (_callback)
        startPolling();
}

SleepAwareTimer::~SleepAwareTimer() = default;

void SleepAwareTimer::invalidate() {
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this, [this] { invalidate(); }, Qt::QueuedConnection);
        return;
    }
    _source.reset();
    // Hold the callback until return: releasing it may destroy this timer.
    const auto released = std::exchange(_callback, nullptr);
}

bool SleepAwareTimer::startAlarm() {
#ifdef Q_OS_LINUX
    const int alarm = timerfd_create(CLOCK_BOOTTIME, TFD_NONBLOCK | TFD_CLOEXEC);
    if (alarm < 0)
        return false;
    auto notifier = std::make_unique<AlarmNotifier>(alarm);
    const timespec period{.tv_sec = _interval.count(), .tv_nsec = 0};
    const itimerspec setting{.it_interval = period, .it_value = period};
    if (timerfd_settime(alarm, 0, &setting, nullptr) != 0)
        return false;
    connect(notifier.get(), &QSocketNotifier::activated, this, [this, alarm] { alarmRang(alarm); });
    _source = std::move(notifier);
    return true;
#else
    return false;
#endif
}

void SleepAwareTimer::alarmRang(int alarm) {
#ifdef Q_OS_LINUX
    // One read takes all expirations so far, so that firings do not pile up.
    quint64 expirations = 0;
    if (::read(alarm, &expirations, sizeof expirations) != sizeof expirations)
        return;
    fire();
#else
    Q_UNUSED(alarm)
#endif
}

void SleepAwareTimer::startPolling() {
    auto poll = std::make_unique<QTimer>();
    poll->setSingleShot(true);
    poll->setTimerType(Qt::CoarseTimer);
    connect(poll.get(), &QTimer::timeout, this, &SleepAwareTimer::pollClock);
    _source = std::move(poll);
    const std::chrono::milliseconds now = _clock();
    _deadline = now + _interval;
    armPolling(now);
}

void SleepAwareTimer::pollClock() {
    const std::chrono::milliseconds now = _clock();
    if (now < _deadline) {
        armPolling(now);
        return;
    }
    const auto missed = (now - _deadline) / std::chrono::milliseconds{_interval};
    _deadline += (missed + 1) * std::chrono::milliseconds{_interval};
    armPolling(now);
    fire();
}

void SleepAwareTimer::armPolling(std::chrono::milliseconds now) {
    // Poll in short steps: QTimer does not count time asleep, and its interval is at most 24 days.
    static_cast<QTimer *>(_source.get())->start(std::min(_deadline - now, maxPollInterval));
}

void SleepAwareTimer::fire() {
    if (_firing || !_callback)
        return;
    const auto running = _callback;
    const QPointer<SleepAwareTimer> alive(this);
    _firing = true;
    (*running)();
    if (alive)
        _firing = false;
}

}  // namespace pelorinnews
