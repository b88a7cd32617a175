// A page process that a page has taken control of. Its file name says what it does.

#include "pageprotocol/MessageCodec.h"
#include "pageprotocol/NavigationType.h"
#include "pageprotocol/PageSocket.h"

#include <QByteArray>

#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace pelorinnews::pageprotocol;

namespace {

void sendBytes(const void *bytes, size_t size) {
    if (::send(childSocket, bytes, size, MSG_NOSIGNAL) < 0)
        ::_exit(1);
}

void send(const RawMessage &datagram) {
    sendBytes(&datagram, sizeof datagram);
}

template <class Message>
void send(const Message &message) {
    for (const RawMessage &datagram : encoded<ChildMessage>(message))
        send(datagram);
}

void sendDescriptor() {
    const QList<RawMessage> datagrams = encoded<ChildMessage>(PageCame{1});
    iovec content{const_cast<RawMessage *>(&datagrams.first()), sizeof(RawMessage)};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr *header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    const int file = ::open("/dev/null", O_RDONLY);
    std::memcpy(CMSG_DATA(header), &file, sizeof file);
    static_cast<void>(::sendmsg(childSocket, &message, MSG_NOSIGNAL));
}

// A datagram of type 0 holds a part of the text of a later message.
RawMessage textPart(char character, qint32 bytes) {
    RawMessage part{};
    part.textBytes = bytes;
    std::memset(part.text, character, sizeof part.text);
    return part;
}

// Tells with a cursor's shape, at a key press, whether the host has sent a clipboard's text before.
[[noreturn]] void answerKeysAfterAsking() {
    send(PasteAsked{1});
    RawMessage datagram{};
    bool hasText = false;
    while (::recv(childSocket, &datagram, sizeof datagram, 0) > 0) {
        hasText = hasText || datagram.type == typeNumber<ClipboardText, HostMessage>;
        if (datagram.type == typeNumber<KeyInput, HostMessage>)
            send(CursorShape{hasText ? Qt::ForbiddenCursor : Qt::WaitCursor});
        if (datagram.type == typeNumber<MouseInput, HostMessage>)
            send(PasteAsked{1});
    }
    ::_exit(0);
}

// Opens a list when the user has done something. Tells with a cursor's shape when the host refuses
// to show it, and ends like the real process if it gets buffers of an impossible size.
[[noreturn]] void openListAtClicks() {
    RawMessage datagram{};
    MessageReader<HostMessage> reader;
    while (::recv(childSocket, &datagram, sizeof datagram, 0) > 0) {
        if (datagram.type == typeNumber<MouseInput, HostMessage>)
            send(PopupShown{1, 0, 0, 100, 100});
        if (datagram.type == typeNumber<DismissPopup, HostMessage>)
            send(CursorShape{Qt::WaitCursor});
        const bool hasDescriptor = datagram.type == typeNumber<SurfaceBuffer, HostMessage> ||
                                   datagram.type == typeNumber<ShowPage, HostMessage>;
        static_cast<void>(reader.read(datagram, hasDescriptor));
        if (reader.isViolated())
            break;
    }
    ::_exit(1);
}

void act(const QByteArray &name) {
    if (name == "speaks before it is ready")
        send(PageCame{1});
    send(Ready{});
    if (name == "is ready twice")
        send(Ready{});
    if (name == "has a page that was never sent")
        send(PageCame{1000});
    if (name == "shows a page that was never sent")
        send(FrameReady{0, 1, 0, 1000});
    if (name == "navigates a page that was never sent")
        send(Navigation{1000, 0, {}});
    if (name == "paints into buffers that it never got")
        send(FrameReady{0, 1000, 0, 1});
    if (name == "paints into a buffer that it gave away") {
        send(FrameReady{0, 1, 0, 1});
        send(FrameReady{0, 1, 0, 1});
    }
    if (name == "answers without being asked")
        send(Pong{1});
    if (name == "sends half a datagram")
        sendBytes("half", 4);
    if (name == "sends a descriptor")
        sendDescriptor();
    if (name == "sends a text without end") {
        for (;;)
            send(textPart('a', sizeof RawMessage::text));
    }
    if (name == "sends a text that is not UTF-8") {
        send(textPart('\xff', 10));
        send(ToolTip{});
    }
    if (name == "sends a text of negative length")
        send(textPart('a', -1));
    if (name == "sends a message of unknown type") {
        RawMessage datagram{};
        datagram.type = 1000;
        send(datagram);
    }
    if (name == "names a cursor that does not exist")
        send(CursorShape{1000});
    if (name == "points at a link of a page that was never sent")
        send(LinkPointed{.page = 1000, .text = {}});
    if (name == "points at a link that is too long")
        send(LinkPointed{.page = 1, .text = QString(maxLink + 1, QLatin1Char('a'))});
    if (name == "points at a link whose text is too long")
        send(LinkPointed{.page = 1, .text = "a\n" + QString(maxLinkText + 1, QLatin1Char('a'))});
    if (name == "opens a pop-up without size")
        send(PopupShown{1, 0, 0, 0, 0});
    if (name == "acts without the user") {
        send(Navigation{1, static_cast<qint32>(pelorinnews::NavigationType::LinkClicked),
                        QStringLiteral("https://example.com/")});
        send(Selection{QStringLiteral("stolen")});
        send(CopiedText{QStringLiteral("stolen")});
        send(FocusLeft{1});
        send(PopupShown{1, 0, 0, 100, 100});
        send(CursorShape{Qt::WaitCursor});
    }
    if (name == "paints an earlier size") {
        send(FrameReady{0, 1, 0, 1});
        send(CursorShape{Qt::WaitCursor});
    }
    if (name == "opens a list")
        openListAtClicks();
    if (name == "asks for the primary selection")
        answerKeysAfterAsking();
    while (name == "never stops")
        send(ToolTip{QStringLiteral("Text")});
}

}  // namespace

int main(int, char *argv[]) {
    // If the test ends without ending this process.
    ::alarm(120);
    const QByteArray path(argv[0]);
    act(path.mid(path.lastIndexOf('/') + 1));
    for (;;)
        ::pause();
}
