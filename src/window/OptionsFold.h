#pragma once

#include <QBasicTimer>
#include <QEvent>
#include <QObject>
#include <QPointer>
#include <QSize>
#include <QVariantAnimation>

#include <functional>
#include <optional>

class QWidget;

namespace pelorinnews {

/// Folds and unfolds the options area by changing the window's height at its bottom edge, animated.
/// Everything above the area keeps its size and position.
///
/// Does not block. `start`, `complete` and the destructor first finish a running change at once. A
/// change starts from the final height of the previous one, never from an animation step, so
/// heights do not drift.
///
/// If the window cannot grow, the content shrinks to make room for the area, and grows again when
/// the area folds. A window cannot grow if it is maximized, full screen or tiled, if it would leave
/// the screen, or if the window manager does not resize it. If the desktop maximizes or tiles the
/// window during a change, the window gets the final height of that change when it is restored to
/// its normal state.
class OptionsFold final : public QObject {
    Q_OBJECT

public:
    /// Height of the options area, in device-independent pixels.
    static constexpr int foldHeight = 38;

    /// `optionsArea` is the widget that folds; `content` keeps its height during a change. Any of
    /// the three may be null. The window's present minimum height must include the open area.
    OptionsFold(QWidget *window, QWidget *content, QWidget *optionsArea);
    ~OptionsFold() override;

    /// Whether the area is open or opening. Initially true.
    [[nodiscard]] bool isOpen() const { return _open; }

    /// Unfolds (`open`) or folds the area, then calls `finished` once. If the area is already in
    /// that state, only calls `finished`.
    void start(bool open, std::function<void()> finished);

    /// Whether later changes happen at once, without an animation, whatever the style says.
    void setMotionReduced(bool isReduced) { _isMotionReduced = isReduced; }

    /// Finishes a running change at once.
    void complete();

    /// Sets the state without resizing the window, for example before the window is first shown.
    void setLaidOut(bool open);

    /// The height that a window has in which the area opens by growing: the present height, plus
    /// the height of the area if it is folded or if the content has made room for it.
    [[nodiscard]] int unfoldedHeight() const;

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    struct Change {
        int from;
        int to;
    };

    [[nodiscard]] bool isHeld() const;
    [[nodiscard]] int lowestHeight() const;
    [[nodiscard]] int growth(bool open) const;
    void resizeTo(int height);
    void layOut();
    void finish();
    void catchUp(QEvent::Type type);
    void hearAnswers();
    void awaitAnswer(int from);
    void adoptReportedSize();

    QPointer<QWidget> _window;
    QPointer<QWidget> _content;
    QPointer<QWidget> _optionsArea;
    int _foldedMinimum;
    QVariantAnimation _animation;
    /// The running change of the window's height.
    std::optional<Change> _change;
    /// A change that the desktop interrupted; kept until the window is back in its normal state.
    std::optional<Change> _cutShort;
    std::function<void()> _finished;
    bool _open = true;
    bool _running = false;
    bool _isMotionReduced = false;
    /// By how much the window grew when the area opened; the content shrank by the rest of the
    /// area's height.
    int _windowGrowth = foldHeight;

    /// The size that the desktop reported last; the widget's own size is only the requested one.
    QSize _reported;
    /// The window's height before a resize that the desktop has not answered yet; absent if no
    /// answer is due.
    std::optional<int> _heightBeforeRequest;
    QBasicTimer _answerTimer;
    int _silentTicks = 0;
};

}  // namespace pelorinnews
