#pragma once

#include "window/OlvNewsWebView.h"

#include <QColor>
#include <QImage>
#include <QList>
#include <QPoint>
#include <QVariant>

#include <functional>

class QTextBrowser;
class QWebEngineView;

namespace pelorinnews::test {

/// The renderer that paints a view.
enum class Painter { Web, Text };

/// A content view on the screen with the requested renderer. Serves as the view's policy delegate
/// and records what it is asked. Like the window controller it refuses clicked links and allows
/// everything else; `refuses` makes it refuse more.
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

    /// Returns true for addresses to refuse, whatever the reason of the navigation; by default for
    /// none.
    std::function<bool(const QString &address)> refuses = [](const QString &) { return false; };

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

    OlvNewsWebView view;

    /// The web renderer's widget; null with the text renderer.
    [[nodiscard]] QWebEngineView *web() const { return _web; }
    [[nodiscard]] QTextBrowser *browser() const { return _browser; }

    /// Runs `script` in the engine's page and returns its result. The script runs in a world of its
    /// own, where scripts are allowed although the page's own are not.
    QVariant evaluated(const QString &script) const;

    /// Whether an element of the engine's page has the keyboard focus, for instance after a click
    /// on it.
    [[nodiscard]] bool hasFocusInPage() const;

private:
    QWebEngineView *_web = nullptr;
    QTextBrowser *_browser = nullptr;
};

/// Waits until `happened` returns true; ends the test program with the message `otherwise` on
/// timeout. (Qt's own wait checks only when no event is left, and a painting engine always has
/// some.)
void waitUntil(const std::function<bool()> &happened, const char *otherwise);

/// The question as one line: the number of its `NavigationType` and its address.
[[nodiscard]] QString asLine(const RendererFixture::Question &question);

}  // namespace pelorinnews::test

Q_DECLARE_METATYPE(pelorinnews::test::Painter)
