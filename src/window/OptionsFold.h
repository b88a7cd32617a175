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

/// Changes a window's height at its bottom edge, animated, while what stands above the options
/// area keeps its size and its place from the top.
///
/// Nothing waits for it. `start` while a change runs first completes that one; so do `complete` and
/// the destructor. Heights are computed from end states, so nothing drifts.
///
/// Where the window cannot grow, the content gives the room, and gets it back when the area folds:
/// in a window that is maximized, full screen or tiled, in one that would leave the screen, and in
/// one that the window manager does not resize. A window that is taken by the desktop while a
/// change runs has the height it was to have once it gets its own size back.
class OptionsFold final : public QObject {
    Q_OBJECT

public:
    /// Height of the options area, in device-independent pixels.
    static constexpr int foldHeight = 38;

    /// `optionsArea` is the widget that gives way; `content` keeps its height meanwhile. Any may be
    /// absent. The window's minimum height is that of the open state.
    OptionsFold(QWidget *window, QWidget *content, QWidget *optionsArea);
    ~OptionsFold() override;

    /// Whether the area is open, or about to be. It is at first.
    [[nodiscard]] bool isOpen() const { return _open; }

    /// Unfolds (`open`) or folds the area, then calls `finished` once; that alone where the area is
    /// so already.
    void start(bool open, std::function<void()> finished);

    /// Brings a running change to its end at once.
    void complete();

    /// Puts the area into `open` without moving the window's edge: for a window that is laid out
    /// before it was ever shown.
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
    void takeAnswer();

    QPointer<QWidget> _window;
    QPointer<QWidget> _content;
    QPointer<QWidget> _optionsArea;
    int _foldedMinimum;
    QVariantAnimation _animation;
    /// The change of height that runs.
    std::optional<Change> _change;
    /// One that the desktop cut short, until the window has its own size again.
    std::optional<Change> _cutShort;
    std::function<void()> _finished;
    bool _open = true;
    bool _running = false;
    /// How much of its height the window has got for the open area; the content gave the rest.
    int _grown = foldHeight;

    /// The size that the desktop reported last; the widget's own is what was asked for.
    QSize _reported;
    /// The height before a change that the desktop has not answered yet.
    std::optional<int> _unanswered;
    QBasicTimer _answerTimer;
    int _silentTicks = 0;
};

}  // namespace pelorinnews
