#include "PageChild.h"

#include "pageprotocol/PageSocket.h"

#include <QByteArrayList>
#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace pelorinnews {

namespace {

using namespace pageprotocol;

// Higher than the descriptors that `SpawnSettings` opens in the child: the standard streams and the
// child's socket.
constexpr int firstSafeDescriptor = 10;

// Whether the page process gets this environment variable. It gets what it needs: where files,
// fonts and the sound server are, which language and proxy the user has, and how the engine finds
// its parts. It gets no display and no session bus.
bool isPassedOn(QByteArrayView variable) {
    static constexpr std::array<QByteArrayView, 20> names{"HOME",
                                                          "PATH",
                                                          "TMPDIR",
                                                          "TZ",
                                                          "LANG",
                                                          "LANGUAGE",
                                                          "LD_LIBRARY_PATH",
                                                          "QT_PLUGIN_PATH",
                                                          "XDG_RUNTIME_DIR",
                                                          "QTWEBENGINE_DISABLE_SANDBOX",
                                                          "QTWEBENGINEPROCESS_PATH",
                                                          "QTWEBENGINE_RESOURCES_PATH",
                                                          "QTWEBENGINE_LOCALES_PATH",
                                                          "http_proxy",
                                                          "https_proxy",
                                                          "all_proxy",
                                                          "no_proxy",
                                                          "ASAN_OPTIONS",
                                                          "LSAN_OPTIONS",
                                                          "UBSAN_OPTIONS"};
    static constexpr std::array<QByteArrayView, 6> beginnings{
        "LC_", "XDG_DATA_", "XDG_CONFIG_", "FONTCONFIG_", "SSL_CERT_", "PULSE_"};
    const auto matches = [variable](QByteArrayView start) { return variable.startsWith(start); };
    return std::find(names.begin(), names.end(), variable) != names.end() ||
           std::any_of(beginnings.begin(), beginnings.end(), matches);
}

QByteArrayList childEnvironment() {
    QByteArrayList kept;
    for (char **each = environ; each && *each; ++each) {
        const QByteArrayView entry(*each);
        if (isPassedOn(entry.first(std::max<qsizetype>(entry.indexOf('='), 0))))
            kept.append(entry.toByteArray());
    }
    // Without this, a D-Bus library would look for the session bus in `XDG_RUNTIME_DIR`.
    kept.append("DBUS_SESSION_BUS_ADDRESS=disabled:");
    return kept;
}

std::vector<char *> pointers(QByteArrayList &texts) {
    std::vector<char *> all;
    for (QByteArray &each : texts)
        all.push_back(each.data());
    all.push_back(nullptr);
    return all;
}

// Owns the file actions and attributes for `posix_spawn`.
class SpawnSettings {
public:
    explicit SpawnSettings(int socket) {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
        ::posix_spawn_file_actions_adddup2(&actions, socket, childSocket);
        ::posix_spawn_file_actions_addclosefrom_np(&actions, childSocket + 1);
        sigset_t signals;
        ::sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes, &signals);
        ::sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&attributes, &signals);
        // The process gets a session of its own, so no signal of the host's terminal reaches it.
        ::posix_spawnattr_setflags(
            &attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
    }
    SpawnSettings(const SpawnSettings &) = delete;
    SpawnSettings &operator=(const SpawnSettings &) = delete;
    ~SpawnSettings() {
        ::posix_spawn_file_actions_destroy(&actions);
        ::posix_spawnattr_destroy(&attributes);
    }

    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
};

// Reaps the process when it has ended, so that it does not stay as a zombie. If the host reaps
// every child itself, or ignores SIGCHLD, `waitid` just fails.
class Reaper final : public QObject {
public:
    explicit Reaper(std::shared_ptr<const FileDescriptor> process)
        : QObject(QCoreApplication::instance()),
          _process(std::move(process)),
          _ended(_process->get(), QSocketNotifier::Read) {
        connect(&_ended, &QSocketNotifier::activated, this, [this] {
            _ended.setEnabled(false);
            siginfo_t info{};
            static_cast<void>(
                ::waitid(P_PIDFD, static_cast<id_t>(_process->get()), &info, WEXITED | WNOHANG));
            deleteLater();
        });
    }

private:
    const std::shared_ptr<const FileDescriptor> _process;
    QSocketNotifier _ended;
};

}  // namespace

std::unique_ptr<PageChild> PageChild::start(const QString &program, const StartArguments &given,
                                            Handler handler) {
    FileDescriptor ours;
    FileDescriptor theirs;
    std::tie(ours, theirs) = MessageSocket::createPair();
    const FileDescriptor safe(::fcntl(theirs.get(), F_DUPFD_CLOEXEC, firstSafeDescriptor));
    if (!ours.isValid() || !safe.isValid())
        return nullptr;
    QByteArrayList arguments{QFile::encodeName(program)};
    arguments += given.toArguments();
    QByteArrayList environment = childEnvironment();
    SpawnSettings settings(safe.get());
    pid_t process = -1;
    if (::posix_spawn(&process, arguments.first().constData(), &settings.actions,
                      &settings.attributes, pointers(arguments).data(),
                      pointers(environment).data()) != 0)
        return nullptr;
    const auto handle = std::make_shared<const FileDescriptor>(
        static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    if (!handle->isValid()) {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
        return nullptr;
    }
    new Reaper(handle);
    return std::unique_ptr<PageChild>(
        new PageChild(std::move(ours), process, handle, std::move(handler)));
}

PageChild::PageChild(FileDescriptor socket, qint64 id,
                     std::shared_ptr<const FileDescriptor> process, Handler handler)
    : _number(id),
      _process(std::move(process)),
      _handler(std::move(handler)),
      _socket(std::move(socket), MessageSocket::Descriptors::Refuse,
              [this](const RawMessage &datagram, const FileDescriptor &) {
                  return receive(datagram);
              }) {
    connect(&_socket, &MessageSocket::closed, this, [this] {
        kill();
        Q_EMIT ended();
    });
    connect(&_socket, &MessageSocket::drained, this, &PageChild::caughtUp);
    send(Hello{});
}

PageChild::~PageChild() {
    kill();
}

bool PageChild::receive(const RawMessage &datagram) {
    const auto message = _reader.read(datagram, false);
    if (!message)
        return !_reader.isViolated();
    const auto *ready = std::get_if<Ready>(&*message);
    if (ready)
        _isOtherVersion = ready->protocol != version;
    if ((ready != nullptr) == _isGreeted || _isOtherVersion)
        return false;
    _isGreeted = true;
    // A copy, because the handler may destroy this object.
    const Handler handler = _handler;
    handler(*message);
    return true;
}

void PageChild::kill() const {
    ::syscall(SYS_pidfd_send_signal, _process->get(), SIGKILL, nullptr, 0);
}

}  // namespace pelorinnews
