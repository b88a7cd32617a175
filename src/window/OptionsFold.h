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
/// Does not block. `start`, `complete` and the destructor first finish a running change at once.
/// Heights are computed from end states, so they do not drift.
///
/// If the window cannot grow, the content gives up the room instead, and gets it back when the area
/// folds. That is the case in a window that is maximized, full screen or tiled, in one that would
/// leave the screen, and in one that the window manager does not resize. If the desktop takes over
/// the window's size during a change, the window gets the final height of that change once it has
/// its own size back.
class OptionsFold final : public QObject {
    Q_OBJECT

public:
    /// Height of the options area, in device-independent pixels.
    static constexpr int foldHeight = 38;

    /// `optionsArea` is the widget that folds; `content` keeps its height during a change. Any of
    /// the three may be null. The window's minimum height is taken as that of the open state.
    OptionsFold(QWidget *window, QWidget *content, QWidget *optionsArea);
    ~OptionsFold() override;

    /// Whether the area is open or opening. True at first.
    [[nodiscard]] bool isOpen() const { return _open; }

    /// Unfolds (`open`) or folds the area, then calls `finished` once. If the area is already in
    /// that state, only calls `finished`.
    void start(bool open, std::function<void()> finished);

    /// Finishes a running change at once.
    void complete();

    /// Sets the state without resizing the window, for example before the window is first shown.
    void setLaidOut(bool open);

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
    /// The running change of height.
    std::optional<Change> _change;
    /// A change that the desktop interrupted; kept until the window has its own size again.
    std::optional<Change> _cutShort;
    std::function<void()> _finished;
    bool _open = true;
    bool _running = false;
    /// By how much the window grew for the open area; the content gave up the rest.
    int _windowGrowth = foldHeight;

    /// The size that the desktop reported last; the widget's own size is only the requested one.
    QSize _reported;
    /// The height before a change that the desktop has not answered yet.
    std::optional<int> _heightBeforeRequest;
    QBasicTimer _answerTimer;
    int _silentTicks = 0;
};

}  // namespace pelorinnews
