// A host that breaks the protocol, with the real page process, which ends at the first violation.

#include "TestMain.h"
#include "pageprotocol/MessageCodec.h"
#include "pageprotocol/MessageSocket.h"
#include "pageprotocol/PageSocket.h"
#include "pageprotocol/SharedMemory.h"
#include "pageprotocol/StartArguments.h"

#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <optional>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace pelorinnews::test {

using namespace pageprotocol;

namespace {

/// A page process, and the host's end of its connection, which gives each frame back.
class Process {
public:
    Process();
    ~Process();
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    template <class Message>
    void send(const Message &message, FileDescriptor descriptor = {}) {
        _socket->send(encoded<HostMessage>(message), std::move(descriptor));
    }
    void sendRaw(const RawMessage &datagram) { _socket->send({datagram}); }

    void closeConnection() { _socket->close(); }

    /// The most recent message of this type that the process has sent; null if there is none.
    template <class Message>
    [[nodiscard]] const Message *last() const {
        for (auto each = _received.rbegin(); each != _received.rend(); ++each)
            if (const auto *message = std::get_if<Message>(&*each))
                return message;
        return nullptr;
    }
    /// Whether the process has ended by itself, without a signal.
    [[nodiscard]] bool hasEnded();

private:
    pid_t _id = -1;
    std::optional<int> _status;
    std::unique_ptr<MessageSocket> _socket;
    MessageReader<ChildMessage> _reader;
    std::vector<ChildMessage> _received;
};

Process::Process() {
    auto [ours, theirs] = MessageSocket::createPair();
    StartArguments arguments;
    arguments.host = ::getpid();
    arguments.scale = 1;
    arguments.screen = {1440, 900};
    QByteArrayList words{PELORIN_PAGE_PROCESS};
    words += arguments.toArguments();
    std::vector<char *> pointers;
    for (QByteArray &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO})
        ::posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_adddup2(&actions, theirs.get(), childSocket);
    ::posix_spawn_file_actions_addclosefrom_np(&actions, childSocket + 1);
    if (::posix_spawn(&_id, PELORIN_PAGE_PROCESS, &actions, nullptr, pointers.data(), environ) != 0)
        qFatal("the page process does not start");
    ::posix_spawn_file_actions_destroy(&actions);
    _socket = std::make_unique<MessageSocket>(
        std::move(ours), MessageSocket::Descriptors::Refuse,
        [this](const RawMessage &datagram, const FileDescriptor &) {
            if (const auto message = _reader.read(datagram, false)) {
                _received.push_back(*message);
                if (const auto *frame = std::get_if<FrameReady>(&*message))
                    send(FrameTaken{frame->surface, frame->generation, frame->buffer});
            }
            return !_reader.isViolated();
        });
}

Process::~Process() {
    if (_status)
        return;
    ::kill(_id, SIGKILL);
    ::waitpid(_id, nullptr, 0);
}

bool Process::hasEnded() {
    int status = 0;
    if (!_status && ::waitpid(_id, &status, WNOHANG) == _id)
        _status = status;
    return _status && WIFEXITED(*_status);
}

FileDescriptor sealedText(const QString &text) {
    return SharedMemory::createSealed(text.toUtf8());
}

FileDescriptor buffer(int width, int height) {
    return SharedMemory::create(bytesPerPixel * width * height);
}

FileDescriptor unsealed(qint64 bytes) {
    FileDescriptor file(static_cast<int>(::syscall(SYS_memfd_create, "unsealed", MFD_CLOEXEC)));
    if (::ftruncate(file.get(), bytes) != 0)
        qFatal("no memory file");
    return file;
}

const QString html = QStringLiteral("The page");

}  // namespace

class HostileHostTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void worksForAnHonestHost();
    void endsAtAViolation_data();
    void endsAtAViolation();
    void endsWithItsConnection();

private:
    // Greets the process and shows a page in buffers of 100 × 80 pixels.
    static void begin(Process &process) {
        process.send(Hello{});
        process.send(ShowPage{1, 8}, sealedText(html));
        for (qint32 i = 0; i < buffers; ++i)
            process.send(SurfaceBuffer{0, 1, i, 100, 80}, buffer(100, 80));
        process.send(Visibility{1});
    }
};

void HostileHostTest::worksForAnHonestHost() {
    Process process;
    begin(process);
    QTRY_VERIFY(process.last<FrameReady>() && process.last<FrameReady>()->page == 1);
    // Of a surface that may have closed meanwhile, and of an earlier generation.
    process.send(FrameTaken{1, 1, 0});
    process.send(SurfaceBuffer{1, 1, 0, 10, 10}, buffer(10, 10));
    process.send(MouseInput{.surface = 4, .kind = MouseInput::Press});
    process.send(DismissPopup{4});
    process.send(Ping{7});
    QTRY_VERIFY(process.last<Pong>());
    QCOMPARE(process.last<Pong>()->number, 7);
    QVERIFY(!process.hasEnded());
}

void HostileHostTest::endsAtAViolation_data() {
    QTest::addColumn<std::function<void(Process &)>>("violate");
    const auto row = [](const char *name, std::function<void(Process &)> violate) {
        QTest::newRow(name) << std::move(violate);
    };
    const auto afterwards = [row](const char *name, std::function<void(Process &)> violate) {
        row(name, [violate = std::move(violate)](Process &process) {
            begin(process);
            violate(process);
        });
    };
    row("says no hello", [](Process &process) { process.send(Ping{1}); });
    row("speaks another version", [](Process &process) { process.send(Hello{version + 1}); });
    afterwards("says hello twice", [](Process &process) { process.send(Hello{}); });
    afterwards("sends an unknown message", [](Process &process) {
        RawMessage datagram{};
        datagram.type = 1000;
        process.sendRaw(datagram);
    });
    afterwards("sends a text of negative length", [](Process &process) {
        RawMessage datagram{};
        datagram.textBytes = -1;
        process.sendRaw(datagram);
    });
    afterwards("sends a text that is not UTF-8", [](Process &process) {
        RawMessage datagram = encoded<HostMessage>(ClipboardText{QStringLiteral("abc")}).first();
        datagram.text[1] = '\xff';
        process.sendRaw(datagram);
    });
    afterwards("sends no page", [](Process &process) { process.send(ShowPage{2, 8}); });
    afterwards("sends an earlier page", [](Process &process) {
        process.send(ShowPage{1, 8}, sealedText(html));
    });
    afterwards("sends a page that is shorter than it says", [](Process &process) {
        process.send(ShowPage{2, 1 << 20}, sealedText(html));
    });
    afterwards("sends a page whose size can change", [](Process &process) {
        process.send(ShowPage{2, 8}, unsealed(8));
    });
    afterwards("sends a page that is no memory", [](Process &process) {
        process.send(ShowPage{2, 8}, FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC)));
    });
    afterwards("sends a descriptor that nothing needs",
               [](Process &process) { process.send(Ping{1}, sealedText(html)); });
    afterwards("sends a buffer of an earlier generation", [](Process &process) {
        process.send(SurfaceBuffer{0, 1, 0, 100, 80}, buffer(100, 80));
    });
    afterwards("sends a buffer that is too small", [](Process &process) {
        process.send(SurfaceBuffer{0, 2, 0, 100, 80}, buffer(10, 10));
    });
    afterwards("sends a buffer whose size can change", [](Process &process) {
        process.send(SurfaceBuffer{0, 2, 0, 100, 80}, unsealed(bytesPerPixel * 100 * 80));
    });
    afterwards("sends two sizes of a generation", [](Process &process) {
        process.send(SurfaceBuffer{0, 2, 0, 100, 80}, buffer(100, 80));
        process.send(SurfaceBuffer{0, 2, 1, 80, 100}, buffer(80, 100));
    });
    afterwards("sends a buffer without memory", [](Process &process) {
        process.send(SurfaceBuffer{0, 2, 0, 100, 80});
    });
    afterwards("sends a buffer of no size", [](Process &process) {
        process.send(SurfaceBuffer{0, 2, 0, 0, 80}, buffer(100, 80));
    });
    afterwards("returns a buffer that it never got", [](Process &process) {
        process.send(FrameTaken{0, 1, 0});
        process.send(FrameTaken{0, 1, 0});
        process.send(FrameTaken{0, 1, 1});
        process.send(FrameTaken{0, 1, 1});
    });
    afterwards("returns a buffer of a later generation", [](Process &process) {
        process.send(FrameTaken{0, 1000, 0});
    });
    afterwards("uses a surface that cannot exist",
               [](Process &process) { process.send(MouseInput{.surface = 1000}); });
    afterwards("zooms to nothing", [](Process &process) {
        process.send(PageStyle{16, 0, 400, 1000, {}});
    });
}

void HostileHostTest::endsAtAViolation() {
    QFETCH(const std::function<void(Process &)>, violate);
    Process process;
    violate(process);
    QTRY_VERIFY(process.hasEnded());
}

void HostileHostTest::endsWithItsConnection() {
    Process process;
    begin(process);
    QTRY_VERIFY(process.last<FrameReady>());
    process.closeConnection();
    QTRY_VERIFY(process.hasEnded());
}

}  // namespace pelorinnews::test

Q_DECLARE_METATYPE(std::function<void(pelorinnews::test::Process &)>)
PELORIN_CORE_TEST_MAIN(pelorinnews::test::HostileHostTest)
#include "HostileHostTest.moc"
