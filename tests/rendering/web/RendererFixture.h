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

/// Which renderer paints.
enum class Painter { Web, Text };

/// A content view on the screen, with the renderer asked for, and a record of what its pages ask
/// the policy delegate. It answers as the window controller does, unless told to refuse more: a
/// clicked link is refused, everything else is allowed.
class RendererFixture final : public NavigationPolicyDelegate {
public:
    explicit RendererFixture(Painter painter);
    ~RendererFixture() override;

    /// One question: why, and the address.
    struct Question {
        NavigationType type;
        QString address;
        bool operator==(const Question &) const = default;
    };
    QList<Question> questions;

    /// Which addresses it refuses however they are reached; none at first.
    std::function<bool(const QString &address)> refuses = [](const QString &) { return false; };

    NavigationDecision webViewDecidePolicyForNavigationAction(NavigationType type,
                                                              const QUrl &url) override;

    /// Loads the page and waits until its load has come to an end, well or not.
    void load(const QString &html);

    /// The text that the page now shows.
    [[nodiscard]] QString text() const;

    /// The colour on the screen, in the view's coordinates.
    [[nodiscard]] QColor pixel(QPoint place) const;

    /// The whole view as it is on the screen.
    [[nodiscard]] QImage screen() const;

    /// The widget that takes the mouse and the keys.
    [[nodiscard]] QWidget *target() const;

    OlvNewsWebView view;

    /// The renderer's own widget; the other one is null.
    [[nodiscard]] QWebEngineView *web() const { return _web; }
    [[nodiscard]] QTextBrowser *browser() const { return _browser; }

    /// What `script` comes to in the engine's page, in a world in which scripts run although those
    /// of the page do not.
    QVariant evaluated(const QString &script) const;

    /// Whether an element of the engine's page has the keyboard focus, as after a click on it.
    [[nodiscard]] bool hasFocusInPage() const;

private:
    QWebEngineView *_web = nullptr;
    QTextBrowser *_browser = nullptr;
};

/// Waits until `happened` says so; ends the test with `otherwise` where it never does. (Qt's own
/// way of waiting looks only when no event is left, and an engine that paints always has some.)
void waitUntil(const std::function<bool()> &happened, const char *otherwise);

/// The question as a line: its number and its address.
[[nodiscard]] QString asLine(const RendererFixture::Question &question);

}  // namespace pelorinnews::test

Q_DECLARE_METATYPE(pelorinnews::test::Painter)
