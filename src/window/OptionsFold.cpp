#include "OptionsFold.h"

#include <QStyle>
#include <QWidget>

#include <utility>

namespace pelorinnews {

namespace {

constexpr int resizeMilliseconds = 200;

}  // namespace

OptionsFold::OptionsFold(QWidget *window, QWidget *content, QWidget *optionsArea)
    : _window(window),
      _content(content),
      _optionsArea(optionsArea),
      _foldedMinimum(window ? qMax(0, window->minimumHeight() - foldHeight) : 0) {
    _animation.setDuration(resizeMilliseconds);
    _animation.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&_animation, &QVariantAnimation::valueChanged, this, [this](const QVariant &height) {
        if (_running && _window)
            _window->resize(_window->width(), height.toInt());
    });
    connect(&_animation, &QVariantAnimation::finished, this, &OptionsFold::finish);
}

OptionsFold::~OptionsFold() {
    complete();
}

void OptionsFold::start(bool open, std::function<void()> whenFinished) {
    complete();
    _finished = std::move(whenFinished);
    _running = true;
    const bool changes = std::exchange(_open, open) != open;
    // The edges of a maximized window are the desktop's; there the content gives and takes the
    // room.
    if (!changes || !_window || !_optionsArea || _window->isMaximized() ||
        _window->isFullScreen()) {
        _animation.setEndValue(_window ? _window->height() : 0);
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
    _animation.setStartValue(height);
    _animation.setEndValue(height + (open ? foldHeight : -foldHeight));
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
    if (_window && _optionsArea) {
        _window->resize(_window->width(), _animation.endValue().toInt());
        setLaidOut(_open);
        if (_content) {
            _content->setMinimumHeight(0);
            _content->setMaximumHeight(QWIDGETSIZE_MAX);
        }
    }
    if (const auto done = std::exchange(_finished, nullptr))
        done();
}

}  // namespace pelorinnews
