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

constexpr int resizeMilliseconds = 200;

// A window manager that has not answered after so many ticks refuses a size. They are counted, not
// the time, since after a pause of this process both the tick and the answer are due.
constexpr int answerTickMilliseconds = 50;
constexpr int answerTicks = 20;

}  // namespace

OptionsFold::OptionsFold(QWidget *window, QWidget *content, QWidget *optionsArea)
    : _window(window),
      _content(content),
      _optionsArea(optionsArea),
      _foldedMinimum(window ? qMax(0, window->minimumHeight() - foldHeight) : 0) {
    _animation.setDuration(resizeMilliseconds);
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

// By how much the window changes its height when the area unfolds (`open`) or folds.
int OptionsFold::growth(bool open) const {
    if (isHeld())
        return 0;
    if (!open)
        return -_grown;
    return WindowEdges::roomBelow(*_window) >= foldHeight ? foldHeight : 0;
}

// A widget that is resized takes itself for an ordinary one from then on, whatever the desktop
// says.
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
        _grown = change;
    if (change == 0) {
        finish();
        return;
    }
    // The area alone takes up what the window gains and loses; all else stays fixed meanwhile.
    _optionsArea->setMinimumHeight(0);
    _optionsArea->setMaximumHeight(foldHeight);
    _optionsArea->setVisible(true);
    if (_content)
        _content->setFixedHeight(_content->height());
    _window->setMinimumHeight(_foldedMinimum);
    const int height = _window->height();
    _change = {height, height + change};
    _cutShort.reset();
    _animation.setStartValue(_change->from);
    _animation.setEndValue(_change->to);
    const bool animated = _window->isVisible() &&
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
    _grown = foldHeight;
    layOut();
}

void OptionsFold::layOut() {
    if (!_optionsArea)
        return;
    _optionsArea->setVisible(_open);
    _optionsArea->setFixedHeight(_open ? foldHeight : 0);
    // A higher minimum would make the window grow.
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

// An X11 window manager may leave a window as it is. Qt then corrects its QWindow, if it was told,
// but never the widget, which goes on as if it had got what it asked for.
void OptionsFold::awaitAnswer(int from) {
    if (!_window || !_window->isVisible() || _reported == _window->size())
        return;
    _unanswered = from;
    _silentTicks = 0;
    _answerTimer.start(answerTickMilliseconds, this);
}

void OptionsFold::timerEvent(QTimerEvent *event) {
    if (event->timerId() != _answerTimer.timerId())
        return QObject::timerEvent(event);
    ++_silentTicks;
    if (_window && _window->isVisible()) {
        // One tick may come between the answer and its event.
        const bool refused = _silentTicks > 1 && _window->windowHandle()->size() != _window->size();
        if (!refused && _silentTicks < answerTicks)
            return;
    }
    takeAnswer();
}

// The window is as the desktop reports it; what it did not get, the content gives.
void OptionsFold::takeAnswer() {
    _answerTimer.stop();
    const auto from = std::exchange(_unanswered, std::nullopt);
    if (!from || !_window || !_window->isVisible() || isHeld())
        return;
    if (_open)
        _grown = qBound(0, _reported.height() - *from, foldHeight);
    if (_reported == _window->size())
        return;
    _window->setMinimumHeight(qMin(lowestHeight(), _reported.height()));
    // It may have been refused another place as well.
    _window->setGeometry(QRect(_window->windowHandle()->position(), _reported));
}

bool OptionsFold::eventFilter(QObject *watched, QEvent *event) {
    const auto type = event->type();
    if (_window && watched == _window->windowHandle()) {
        if (type == QEvent::Resize) {
            _reported = static_cast<QResizeEvent *>(event)->size();
            _silentTicks = 0;
            if (_unanswered && _reported == _window->size())
                takeAnswer();
        }
        return QObject::eventFilter(watched, event);
    }
    if (type == QEvent::Show)
        hearAnswers();
    if (type == QEvent::WindowStateChange || type == QEvent::Resize) {
        // The state may be known before the size. A window that is lower yet than it may be then
        // would be made higher by Qt, and be an ordinary one again.
        if (isHeld() && _window->height() >= lowestHeight())
            complete();
        else if (_cutShort && !isHeld())  // Not from within the event of a size.
            QMetaObject::invokeMethod(
                this, [this, type] { catchUp(type); }, Qt::QueuedConnection);
        if (!_running && _window->height() > _window->minimumHeight())
            _window->setMinimumHeight(qMin(lowestHeight(), _window->height()));
    }
    return QObject::eventFilter(watched, event);
}

// The desktop gives a window back the height that it took it at, half-way. Any other is somebody's
// wish; but the event of the state may come before that of the size.
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
