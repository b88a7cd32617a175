#pragma once

#include "CursorWatch.h"
#include "EngineView.h"
#include "ItemPage.h"
#include "ItemSchemeHandler.h"
#include "PopupWindows.h"
#include "Surface.h"
#include "pageprotocol/MessageCodec.h"
#include "pageprotocol/MessageSocket.h"

#include <QTimer>
#include <QWebEngineProfile>

#include <array>
#include <map>
#include <memory>
#include <vector>

namespace pelorinnews {

/// Runs the web engine for one content view of the host: shows the host's pages, paints them into
/// its buffers, and reports what happens on them. Ends the process when the connection ends.
class PageProcess final : public QObject {
    Q_OBJECT

public:
    /// `socket` is the connection to the host.
    explicit PageProcess(FileDescriptor socket);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    using Descriptor = FileDescriptor;

    void prepareProfile();
    void listenToPage();
    void listenToDesktop();
    void prepareTimers();

    bool receive(const pageprotocol::RawMessage &datagram, Descriptor descriptor);
    template <class Message>
    void send(const Message &message);

    bool handle(const pageprotocol::Hello &message, const Descriptor &);
    bool handle(const pageprotocol::ShowPage &message, const Descriptor &memory);
    bool handle(const pageprotocol::PageStyle &message, const Descriptor &);
    bool handle(const pageprotocol::SurfaceBuffer &message, const Descriptor &memory);
    bool handle(const pageprotocol::FrameTaken &message, const Descriptor &);
    bool handle(const pageprotocol::ViewPlace &message, const Descriptor &);
    bool handle(const pageprotocol::Visibility &message, const Descriptor &);
    bool handle(const pageprotocol::DiscardPage &message, const Descriptor &);
    bool handle(const pageprotocol::MouseInput &message, const Descriptor &);
    bool handle(const pageprotocol::WheelInput &message, const Descriptor &);
    bool handle(const pageprotocol::KeyInput &message, const Descriptor &);
    bool handle(const pageprotocol::FocusInput &message, const Descriptor &);
    bool handle(const pageprotocol::CommitText &message, const Descriptor &);
    bool handle(const pageprotocol::PreeditText &message, const Descriptor &);
    bool handle(const pageprotocol::ClipboardText &message, const Descriptor &);
    bool handle(const pageprotocol::DropText &message, const Descriptor &);
    bool handle(const pageprotocol::DismissPopup &message, const Descriptor &);
    bool handle(const pageprotocol::Ping &message, const Descriptor &);

    void showPopup(QWidget *popup, const QRect &place);
    void hidePopup(const QWidget *popup);
    [[nodiscard]] QWidget *windowOf(qint32 surface) const;
    /// The number of the surface of `window`; negative if there is none.
    [[nodiscard]] qint32 surfaceOf(const QWidget *window) const;
    void addSurface(QWidget &window, qint32 number);
    void retryInNewProcess();
    void expectPaint();
    void expectFirstPaint();
    void checkPicture();
    void pagePainted();
    void reportInputState();
    void reportLink(const PageScript::Pointed &link);
    void keepFocus();

    QWebEngineProfile _profile;
    ItemSchemeHandler _handler;
    ItemPage _page;
    EngineView _view;
    PopupWindows _popups;
    CursorWatch _cursor;
    std::map<qint32, std::unique_ptr<Surface>> _surfaces;
    qint32 _number = 0;
    /// The most recent page that was painted; 0 before the first.
    qint32 _shownNumber = 0;
    /// Whether the current page was painted.
    bool _isPainted = false;
    /// Keyboard input for the current page, to be delivered when it is painted.
    std::vector<pageprotocol::HostMessage> _heldInput;
    /// Whether the engine keeps showing earlier content until the next page is painted. False only
    /// after the page was discarded.
    bool _showsEarlierContent = true;
    bool _isGreeted = false;
    pageprotocol::FocusInput _focus;
    double _zoom = 1;
    /// Whether the page was loaded again after its process had died, or after its load had failed.
    bool _isRevived = false;
    QTimer _hangTimer;
    QTimer _inputStateTimer;
    /// When one of them fires, the current page counts as painted: a moment after its report, or
    /// without a report, after it was visible for some time.
    QTimer _paintTimer;
    QTimer _paintLimit;
    /// Runs once for the first page that is visible in this process.
    QTimer _blankLimit;
    /// Whether any page has reported that it was painted.
    bool _hasReported = false;
    /// Whether the view was found with something in it.
    bool _hasPicture = false;
    pageprotocol::InputState _inputState;
    /// What was last reported of the pointer and of the focus.
    std::array<pageprotocol::LinkPointed, 2> _links;
    /// Whether the host is putting a text into this process's clipboard.
    bool _isPasting = false;
    pageprotocol::MessageReader<pageprotocol::HostMessage> _reader;
    MessageSocket _socket;
};

}  // namespace pelorinnews
