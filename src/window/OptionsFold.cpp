#include "OptionsFold.h"

#include "WindowEdges.h"

#include <QResizeEvent>
#include <QStyle>
#include <QTimerEvent>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <utility>

namespace pelorinnews {

namespace {

constexpr std::chrono::milliseconds resizeDuration{200};

// A window manager that has not answered after this many ticks counts as refusing the size.
// Counting ticks instead of time avoids a false timeout: after this process was suspended, only one
// tick is due, and the answer is handled before the next.
constexpr std::chrono::milliseconds answerTick{50};
constexpr int answerTicks = 20;

}  // namespace

OptionsFold::OptionsFold(QWidget *window, QWidget *content, QWidget *optionsArea)
    : _window(window),
      _content(content),
      _optionsArea(optionsArea),
      _foldedMinimum(window ? qMax(0, window->minimumHeight() - foldHeight) : 0) {
    _animation.setDuration(static_cast<int>(resizeDuration.count()));
    _animation.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&_animation, &QVariantAnimation::valueChanged, this, [this](const QVariant &height) {
        if (_running)
            resizeTo(height.toInt());
    });
    connect(&_animation, &QVariantAnimation::finished, this, &OptionsFold::finish);
    if (_window)
        _window->installEventFilter(this);
    hearAnswers();
}

OptionsFold::~OptionsFold() {
    complete();
}

bool OptionsFold::isHeld() const {
    return _window && WindowEdges::areSetByDesktop(*_window);
}

int OptionsFold::lowestHeight() const {
    return _foldedMinimum + (_open ? foldHeight : 0);
}

// By how much the window's height changes when the area unfolds (`open`) or folds.
int OptionsFold::growth(bool open) const {
    if (isHeld())
        return 0;
    if (!open)
        return -_windowGrowth;
    return WindowEdges::roomBelow(*_window) >= foldHeight ? foldHeight : 0;
}

// No-op while the desktop sets the window's size: after a resize, Qt considers the window to be in
// the normal state, even if the desktop reports it as maximized or full screen.
void OptionsFold::resizeTo(int height) {
    if (_window && !isHeld())
        _window->resize(_window->width(), height);
}

void OptionsFold::start(bool open, std::function<void()> whenFinished) {
    complete();
    _finished = std::move(whenFinished);
    _running = true;
    const bool changes = std::exchange(_open, open) != open;
    const int change = changes && _window && _optionsArea ? growth(open) : 0;
    if (changes && open)
        _windowGrowth = change;
    if (change == 0) {
        finish();
        return;
    }
    // Only the area absorbs the change of the window's height; everything else stays fixed
    // meanwhile.
    _optionsArea->setMinimumHeight(0);
    _optionsArea->setMaximumHeight(foldHeight);
    _optionsArea->setVisible(true);
    if (_content)
        _content->setFixedHeight(_content->height());
    _window->setMinimumHeight(_foldedMinimum);
    const int height = _window->height();
    _change = {height, height + change};
    _cutShort.reset();
    {
        // The animation is still at the end of the last change, and would announce that value.
        const QSignalBlocker silent(_animation);
        _animation.setStartValue(_change->from);
        _animation.setEndValue(_change->to);
    }
    const bool animated = !_isMotionReduced && _window->isVisible() &&
                          _window->style()->styleHint(QStyle::SH_Widget_Animation_Duration) > 0;
    if (animated)
        _animation.start();
    else
        finish();
}

void OptionsFold::complete() {
    if (_running)
        finish();
}

void OptionsFold::setLaidOut(bool open) {
    _open = open;
    _windowGrowth = foldHeight;
    layOut();
}

int OptionsFold::unfoldedHeight() const {
    const int folded = _window ? _window->height() - (_open ? _windowGrowth : 0) : 0;
    return folded + foldHeight;
}

void OptionsFold::layOut() {
    if (!_optionsArea)
        return;
    _optionsArea->setVisible(_open);
    _optionsArea->setFixedHeight(_open ? foldHeight : 0);
    // Limited to the present height, because a higher minimum would make the window grow.
    if (_window)
        _window->setMinimumHeight(qMin(lowestHeight(), _window->height()));
}

void OptionsFold::finish() {
    if (!std::exchange(_running, false))
        return;
    _animation.stop();
    if (const auto change = std::exchange(_change, std::nullopt)) {
        if (isHeld())
            _cutShort = change;
        resizeTo(change->to);
        awaitAnswer(change->from);
    }
    if (_window && _optionsArea) {
        layOut();
        if (_content) {
            _content->setMinimumHeight(0);
            _content->setMaximumHeight(QWIDGETSIZE_MAX);
        }
    }
    if (const auto done = std::exchange(_finished, nullptr))
        done();
}

void OptionsFold::hearAnswers() {
    if (!_window || !_window->windowHandle())
        return;
    _reported = _window->size();
    _window->windowHandle()->installEventFilter(this);
}

// An X11 window manager may ignore a resize. If Qt is notified of that, it corrects the size of the
// `QWindow`, but never that of the widget, which keeps the requested size.
void OptionsFold::awaitAnswer(int from) {
    if (!_window || !_window->isVisible())
        return;
    // While the answer to an earlier request is still due, the reported size is not the final one.
    if (_reported == _window->size() && !_heightBeforeRequest)
        return;
    _heightBeforeRequest = from;
    _silentTicks = 0;
    _answerTimer.start(static_cast<int>(answerTick.count()), this);
}

void OptionsFold::timerEvent(QTimerEvent *event) {
    if (event->timerId() != _answerTimer.timerId())
        return QObject::timerEvent(event);
    // The answer to a request of an earlier change says nothing about the running one.
    if (_running)
        return;
    ++_silentTicks;
    if (_window && _window->isVisible()) {
        // The first tick does not count: it may come between the desktop's answer, which changes
        // the `QWindow`, and the resize event for it.
        const bool refused = _silentTicks > 1 && _window->windowHandle()->size() != _window->size();
        if (!refused && _silentTicks < answerTicks)
            return;
    }
    adoptReportedSize();
}

// Resizes the widget to the size that the desktop reported; the content shrinks by the height that
// the window did not get.
void OptionsFold::adoptReportedSize() {
    _answerTimer.stop();
    const auto from = std::exchange(_heightBeforeRequest, std::nullopt);
    if (!from || !_window || !_window->isVisible() || isHeld())
        return;
    if (_open)
        _windowGrowth = qBound(0, _reported.height() - *from, foldHeight);
    if (_reported == _window->size())
        return;
    _window->setMinimumHeight(qMin(lowestHeight(), _reported.height()));
    // The window manager may have refused not only the size, but also the position.
    _window->setGeometry(QRect(_window->windowHandle()->position(), _reported));
}

bool OptionsFold::eventFilter(QObject *watched, QEvent *event) {
    const auto type = event->type();
    if (_window && watched == _window->windowHandle()) {
        if (type == QEvent::Resize) {
            _reported = static_cast<QResizeEvent *>(event)->size();
            _silentTicks = 0;
            if (_heightBeforeRequest && !_running && _reported == _window->size())
                adoptReportedSize();
        }
        return QObject::eventFilter(watched, event);
    }
    if (type == QEvent::Show)
        hearAnswers();
    if (type == QEvent::WindowStateChange || type == QEvent::Resize) {
        // The state event may arrive before the new size. Completing the change while the window is
        // still lower than its minimum height would make Qt enlarge the window, which returns it to
        // the normal state.
        if (isHeld() && _window->height() >= lowestHeight())
            complete();
        else if (_cutShort && !isHeld())  // Queued, to avoid a resize inside a resize event.
            QMetaObject::invokeMethod(
                this, [this, type] { catchUp(type); }, Qt::QueuedConnection);
        if (!_running && _window->height() > _window->minimumHeight())
            _window->setMinimumHeight(qMin(lowestHeight(), _window->height()));
    }
    return QObject::eventFilter(watched, event);
}

// On restore, the desktop gives the window back its mid-animation height: finish the interrupted
// change. Any other height was set on purpose: drop the change, but only on a resize event. At a
// state event, the window may still have its old size.
void OptionsFold::catchUp(QEvent::Type type) {
    if (!_cutShort || !_window || isHeld())
        return;
    const auto [lowest, highest] = std::minmax(_cutShort->from, _cutShort->to);
    const int height = _window->height();
    if (height >= lowest && height <= highest)
        resizeTo(_cutShort->to);
    else if (type != QEvent::Resize)
        return;
    _cutShort.reset();
}

}  // namespace pelorinnews
