#pragma once

#include "NewsRenderer.h"
#include "PageChild.h"
#include "PageWidget.h"
#include "TextNewsRenderer.h"

#include <QList>
#include <QTimer>

#include <chrono>
#include <memory>

namespace pelorinnews {

/// Paints pages with the web engine, which runs in a process of its own. Where that process cannot
/// run, or fails again and again, the text renderer takes over in the same widget until the window
/// is next opened.
class WebNewsRenderer final : public NewsRenderer {
public:
    /// `program` is the page process. After `maxFailures` failures within a minute it is not
    /// started again until the window is next opened.
    WebNewsRenderer(QWidget *parent, const QString &program, qsizetype maxFailures = 3);
    ~WebNewsRenderer() override;

    [[nodiscard]] QWidget *widget() const override;
    [[nodiscard]] QWidget *inputWidget() const override;
    void loadHtmlString(const QString &html, PageKind kind) override;
    void setStandardFontFamily(const QString &family) override;
    void setZoom(int percent) override;
    void setPolicyDelegate(NavigationPolicyDelegate *delegate) override;

    /// The id of the page process; 0 if none runs.
    [[nodiscard]] qint64 process() const { return _child ? _child->id() : 0; }

private:
    class Surround;

    void opened();
    void closed();
    void surroundingsChanged();
    void startChild();
    void endChild();
    void restartChild();
    void sendStyle();
    void sendPage();
    void childEnded();
    void useText();
    void expectAnswer();
    void answerIsMissing();
    void answerCame();
    [[nodiscard]] QColor plainColour() const;

    void receive(const pageprotocol::ChildMessage &message);
    [[nodiscard]] bool handle(const pageprotocol::Ready &message);
    [[nodiscard]] bool handle(const pageprotocol::PageCame &message);
    [[nodiscard]] bool handle(const pageprotocol::Navigation &message);
    [[nodiscard]] bool handle(const pageprotocol::Pong &message);
    template <class Message>
    [[nodiscard]] bool handle(const Message &message) {
        return _view->handle(message);
    }

    const QString _program;
    const qsizetype _maxFailures;
    Surround *const _surround;
    PageWidget *const _view;
    std::unique_ptr<PageChild> _child;
    /// The arguments with which the child was started.
    StartArguments _start;
    /// The text renderer, if it has taken over; null while the page process is used.
    std::unique_ptr<TextNewsRenderer> _text;
    NavigationPolicyDelegate *_policy = nullptr;
    QString _html;
    PageKind _kind = PageKind::Item;
    QString _fontFamily;
    int _zoom = 100;
    /// Number of the present page; 0 before the first.
    qint32 _page = 0;
    bool _isReady = false;
    bool _wasEverReady = false;
    bool _isClosed = false;
    QList<std::chrono::steady_clock::time_point> _failures;
    QTimer _readyTimer;
    QTimer _answerTimer;
    /// Whether a ping was sent that the process has not answered yet.
    bool _isAsked = false;
    QTimer _discardTimer;
    QTimer _endTimer;
};

}  // namespace pelorinnews
