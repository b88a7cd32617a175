#pragma once

#include "NewsRenderer.h"
#include "PageChild.h"
#include "PageWidget.h"
#include "TextNewsRenderer.h"

#include <QList>
#include <QString>
#include <QTimer>

#include <chrono>
#include <memory>

namespace pelorinnews {

/// Paints pages with the web engine, which runs in a process of its own. Where that process is not
/// installed, cannot run, or fails again and again, the text renderer takes over in the same
/// widget. The next opening of the window tries the process again.
class WebNewsRenderer final : public NewsRenderer {
public:
    /// How often the page process may fail, and how long it may take or is kept.
    struct Limits {
        /// After this many failures within a minute, the text renderer takes over.
        qsizetype failures = 3;
        /// Timeout for a new process to say that the engine runs. After it, the text renderer takes
        /// over.
        std::chrono::milliseconds ready = std::chrono::seconds(5);
        /// Delay between sending input or a page and a ping, and timeout for the answer to the
        /// ping. No ping is sent if a page comes in the meantime.
        std::chrono::milliseconds answer = std::chrono::seconds(5);
        /// How long the page is kept after the window has closed, so that the window opens again at
        /// once. After this time, the news has probably been read.
        std::chrono::milliseconds discard = std::chrono::seconds(10);
        /// How long the page process is kept after the window has closed.
        std::chrono::milliseconds end = std::chrono::minutes(2);
    };

    /// `program` is the page process. It may be absent.
    WebNewsRenderer(QWidget *parent, const QString &program);
    WebNewsRenderer(QWidget *parent, const QString &program, const Limits &limits);
    ~WebNewsRenderer() override;

    [[nodiscard]] QWidget *widget() const override;
    [[nodiscard]] QWidget *inputWidget() const override;
    void loadHtmlString(const QString &html, PageKind kind) override;
    void setStandardFontFamily(const QString &family) override;
    void setZoom(int percent) override;
    void setPolicyDelegate(NavigationPolicyDelegate *delegate) override;
    void setLinkObserver(const LinkObserver &observer) override;

    /// The id of the page process; 0 if none runs.
    [[nodiscard]] qint64 process() const { return _child ? _child->id() : 0; }

    /// Whether the page process runs, and has started the engine.
    [[nodiscard]] bool isReady() const { return _child && _isReady; }

    /// Whether the text renderer has taken over.
    [[nodiscard]] bool isText() const { return _text != nullptr; }

    /// Whether the present page was painted with everything that it names, as far as that could be
    /// loaded. False while the text renderer has taken over.
    [[nodiscard]] bool isPageComplete() const {
        return _page > 0 && _paintedPage == _page && _loadedPage == _page;
    }

private:
    class Surround;

    void showPage();
    void opened();
    void closed();
    void showHeld();
    void surroundingsChanged();
    void startChild();
    void endChild();
    void restartChild();
    void sendStyle();
    void sendPage();
    void childEnded();
    void useText();
    void replaceText();
    void expectAnswer();
    void reportLink(LinkPointer pointer, const PageLink &link) const;
    void forgetLinks() const;
    void answerIsMissing();
    void answerCame();
    [[nodiscard]] bool isProgramInstalled() const;
    [[nodiscard]] QColor plainColour() const;
    [[nodiscard]] QString statusStyle() const;

    void receive(const pageprotocol::ChildMessage &message);
    [[nodiscard]] bool handle(const pageprotocol::Ready &message);
    [[nodiscard]] bool handle(const pageprotocol::PageCame &message);
    [[nodiscard]] bool handle(const pageprotocol::PageLoaded &message);
    [[nodiscard]] bool handle(const pageprotocol::Navigation &message);
    [[nodiscard]] bool handle(const pageprotocol::LinkPointed &message);
    [[nodiscard]] bool handle(const pageprotocol::Pong &message);
    [[nodiscard]] bool handle(const pageprotocol::PasteAsked &message);
    [[nodiscard]] bool handle(const pageprotocol::FrameReady &message);
    template <class Message>
    [[nodiscard]] bool handle(const Message &message) {
        return _view->handle(message);
    }

    const QString _program;
    const Limits _limits;
    Surround *const _surround;
    PageWidget *const _view;
    std::unique_ptr<PageChild> _child;
    /// The arguments with which the child was started.
    StartArguments _start;
    /// The text renderer, if it has taken over. It stays above the view until a new page process
    /// has painted the page.
    std::unique_ptr<TextNewsRenderer> _text;
    NavigationPolicyDelegate *_policy = nullptr;
    LinkObserver _links;
    QString _html;
    PageKind _kind = PageKind::Item;
    QString _fontFamily;
    int _zoom = 100;
    /// The style with which the most recent status text was sent.
    QString _sentStatusStyle;
    /// Number of the present page; 0 before the first.
    qint32 _page = 0;
    /// The most recent pages that the present process has painted, and loaded; 0 for none.
    qint32 _paintedPage = 0;
    qint32 _loadedPage = 0;
    bool _isReady = false;
    bool _wasEverReady = false;
    bool _isClosed = false;
    /// Whether no page was loaded since the window was closed.
    bool _isStale = false;
    QList<std::chrono::steady_clock::time_point> _failures;
    QTimer _readyTimer;
    QTimer _answerTimer;
    /// Whether a ping was sent, and the process has given no sign of life since.
    bool _isAsked = false;
    /// Numbers of the latest ping and of the latest answer to one.
    qint32 _lastPing = 0;
    qint32 _lastPong = 0;
    QTimer _replaceTimer;
    QTimer _holdTimer;
    QTimer _discardTimer;
    QTimer _endTimer;
};

}  // namespace pelorinnews
