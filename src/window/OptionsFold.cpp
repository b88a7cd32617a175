#include "OptionsFold.h"

#include <QStyle>
#include <QWidget>

#include <algorithm>
#include <utility>

namespace pelorinnews {

namespace {

constexpr int resizeMilliseconds = 200;

}  // namespace

bool hasDesktopsEdges(const QWidget *window) {
    return window && (window->isMaximized() || window->isFullScreen());
}

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
}

OptionsFold::~OptionsFold() {
    complete();
}

// A widget that is resized takes itself for an ordinary one from then on, whatever the desktop
// says.
void OptionsFold::resizeTo(int height) {
    if (_window && !hasDesktopsEdges(_window))
        _window->resize(_window->width(), height);
}

void OptionsFold::start(bool open, std::function<void()> whenFinished) {
    complete();
    _finished = std::move(whenFinished);
    _running = true;
    const bool changes = std::exchange(_open, open) != open;
    if (!changes || !_window || !_optionsArea || hasDesktopsEdges(_window)) {
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
    _change = {height, height + (open ? foldHeight : -foldHeight)};
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
    if (!_optionsArea)
        return;
    _optionsArea->setVisible(open);
    _optionsArea->setFixedHeight(open ? foldHeight : 0);
    if (_window)
        _window->setMinimumHeight(_foldedMinimum + (open ? foldHeight : 0));
}

void OptionsFold::finish() {
    if (!std::exchange(_running, false))
        return;
    _animation.stop();
    if (const auto change = std::exchange(_change, std::nullopt)) {
        if (hasDesktopsEdges(_window))
            _cutShort = change;
        resizeTo(change->to);
    }
    if (_window && _optionsArea) {
        setLaidOut(_open);
        if (_content) {
            _content->setMinimumHeight(0);
            _content->setMaximumHeight(QWIDGETSIZE_MAX);
        }
    }
    if (const auto done = std::exchange(_finished, nullptr))
        done();
}

bool OptionsFold::eventFilter(QObject *watched, QEvent *event) {
    const auto type = event->type();
    if (type == QEvent::WindowStateChange || type == QEvent::Resize) {
        // The state may be known before the size. A window that is lower yet than it may be then
        // would be made higher by Qt, and be an ordinary one again.
        const int lowest = _foldedMinimum + (_open ? foldHeight : 0);
        if (hasDesktopsEdges(_window) && _window->height() >= lowest)
            complete();
        else if (_cutShort && !hasDesktopsEdges(_window))  // Not from within the event of a size.
            QMetaObject::invokeMethod(
                this, [this, type] { catchUp(type); }, Qt::QueuedConnection);
    }
    return QObject::eventFilter(watched, event);
}

// The desktop gives a window back the height that it took it at, half-way. Any other is somebody's
// wish; but the event of the state may come before that of the size.
void OptionsFold::catchUp(QEvent::Type type) {
    if (!_cutShort || !_window || hasDesktopsEdges(_window))
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
