#pragma once

#include "EngineAccess.h"
#include "window/OlvNewsWebView.h"

#include <QColor>
#include <QImage>
#include <QList>
#include <QPoint>
#include <QVariant>

#include <functional>

class QTextBrowser;

namespace pelorinnews::test {

/// The renderer that paints a view.
enum class Painter { Web, Text };

/// A content view on the screen with the requested renderer. Serves as the view's policy delegate
/// and records what it is asked.
class RendererFixture final : public NavigationPolicyDelegate {
public:
    explicit RendererFixture(Painter painter);
    ~RendererFixture() override;

    /// One call of the policy delegate: the reason of the navigation and its address.
    struct Question {
        NavigationType type;
        QString address;
        bool operator==(const Question &) const = default;
    };
    QList<Question> questions;

    NavigationDecision webViewDecidePolicyForNavigationAction(NavigationType type,
                                                              const QUrl &url) override;

    /// Loads the page and waits until the load has ended, successfully or not.
    void load(const QString &html);

    /// The text that the page now shows.
    [[nodiscard]] QString text() const;

    /// The colour on the screen at `place`, in the view's coordinates.
    [[nodiscard]] QColor pixel(QPoint place) const;

    /// The whole view as it is on the screen.
    [[nodiscard]] QImage screen() const;

    /// The widget that receives mouse and key events.
    [[nodiscard]] QWidget *target() const;

    /// Waits until the screen has this colour at `place`, in the view's coordinates, and the page
    /// accepts clicks there.
    void waitForColour(QPoint place, const QColor &colour) const;

    /// Moves the pointer to `place`, in the view's coordinates, and clicks.
    void click(QPoint place, Qt::MouseButton button = Qt::LeftButton,
               Qt::KeyboardModifiers held = {}) const;

    OlvNewsWebView view;

    [[nodiscard]] bool isWeb() const { return _painter == Painter::Web; }

    /// The text renderer's widget; null with the web renderer.
    [[nodiscard]] QTextBrowser *browser() const;

    /// The web renderer's engine.
    [[nodiscard]] Engine &engine() const { return _engine; }

    /// Runs `script` in the engine's page and returns its result. It runs in an isolated world,
    /// where scripts are allowed although the page's own are not.
    QVariant evaluated(const QString &script) const;

    /// Whether an element of the engine's page has the keyboard focus, for instance after a click
    /// on it.
    [[nodiscard]] bool hasFocusInPage() const;

private:
    [[nodiscard]] QPixmap grabbed(const QRect &part) const;
    void waitForEngine();
    void waitForFrames(int count) const;

    const Painter _painter;
    mutable Engine _engine;
};

/// The background of `page`.
inline const QColor ground(0x20, 0xc0, 0x40);

/// A page without margins that has this body, on `ground`.
[[nodiscard]] QString page(const QString &body);

/// The question as one line: the number of its `NavigationType` and its address.
[[nodiscard]] QString asLine(const RendererFixture::Question &question);

}  // namespace pelorinnews::test

Q_DECLARE_METATYPE(pelorinnews::test::Painter)
