// A host in a process of its own. Shows one page in the content view, waits until it is on the
// screen, and prints which renderer has painted it. Exits with 1 if it does not appear.
//
// --folder F   looks for the page process in folder F
// --web        if the text renderer paints, opens the window again and again until the web renderer
//              does: on a busy computer the page process may be late
// --reopen     then closes and opens the window once more
// --stay       never ends
// --leave      ends while the page is loading
// --quit       ends by exit(), with everything alive
// --reap       takes note of the end of every child process, as a simple host does
// --ignore     ignores the signal for the end of child processes
// --handler    takes note of the end of every child process, in the handler of that signal
// --blocked    blocks all signals
// --lost       has a current folder that was removed
// --closed     has closed standard input and output, and every other descriptor but standard errors
// --styled     has a style sheet and asks for shared and software GL
// --strict     ends at the first warning
// --kill       kills its child processes when the page is shown, and shows another page
// --fork       makes a copy of itself when the page is shown, which stays for two minutes at most
// --confined   lets no program create user namespaces, as container managers do
// --open       has a thousand files open
// --again      does the same again under a second application object
// --late       shows the page only under a second application object

#include "window/OlvNewsWebView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QPixmap>
#include <QScreen>
#include <QTextBrowser>
#include <QThread>

#ifdef PELORIN_HOST_USES_ENGINE
#include <QWebEnginePage>
#include <QWebEngineProfile>
#endif

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <optional>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

using namespace pelorinnews;

namespace {

constexpr QRgb background = 0xff20c040;
constexpr QRgb nextBackground = 0xff4020c0;

bool isPainted(QWidget &view, QRgb colour) {
    // A program on Wayland does not see the screen, only what it draws itself.
    const QPixmap shot = QGuiApplication::platformName() == QLatin1String("wayland")
                             ? view.grab({250, 150, 1, 1})
                             : view.screen()->grabWindow(view.winId(), 250, 150, 1, 1);
    return !shot.isNull() && shot.toImage().pixel(0, 0) == colour;
}

// Runs the event loop until `isDone`; false on timeout.
bool runUntil(const std::function<bool()> &isDone) {
    QElapsedTimer clock;
    clock.start();
    while (!isDone()) {
        if (clock.hasExpired(50'000))
            return false;
        QApplication::processEvents();
        QThread::msleep(5);
    }
    return true;
}

// Makes every attempt to create a user namespace fail, here and in all child processes.
bool confine() {
    // `clone3` passes its flags in memory, which a filter cannot read. Without it, the C library
    // uses `clone`.
    constexpr auto number = offsetof(seccomp_data, nr);
    constexpr auto firstArgument = offsetof(seccomp_data, args);
    const auto refuse = [](unsigned int error) { return SECCOMP_RET_ERRNO | error; };
    std::array filter{
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, number),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_clone3, 0, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, refuse(ENOSYS)),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_unshare, 1, 0),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_clone, 0, 3),
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, firstArgument),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, CLONE_NEWUSER, 0, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, refuse(EPERM)),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

void killChildren() {
    QFile file(QStringLiteral("/proc/self/task/%1/children").arg(::getpid()));
    if (!file.open(QFile::ReadOnly))
        return;
    for (const QByteArray &child : file.readAll().split(' ')) {
        if (child.toInt() > 0)
            ::kill(child.toInt(), SIGKILL);
    }
}

void makeCopy() {
    if (::fork() != 0)
        return;
    // The test waits until nobody has its pipes open.
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::close(stream);
    ::alarm(120);
    for (;;)
        ::pause();
}

void reapAll(int) {
    const int before = errno;
    while (::waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    errno = before;
}

void endAtWarnings(QtMsgType type, const QMessageLogContext &, const QString &text) {
    if (type == QtDebugMsg || type == QtInfoMsg)
        return;
    std::fprintf(stderr, "warning: %s\n", qUtf8Printable(text));
    std::_Exit(2);
}

// Makes a folder the current one, and removes it.
bool leaveFolder() {
    std::array<char, 32> folder{"/tmp/pelorin-host-XXXXXX"};
    return ::mkdtemp(folder.data()) && ::chdir(folder.data()) == 0 && ::rmdir(folder.data()) == 0;
}

void blockSignals() {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

void closeAll() {
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    ::closefrom(STDERR_FILENO + 1);
}

// Runs the host under one application object; returns the exit status.
int run(int argc, char *argv[], const QStringList &options) {
    const auto has = [&options](const char *name) { return options.contains(QLatin1String(name)); };
    if (has("--styled")) {
        QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
        QCoreApplication::setAttribute(Qt::AA_UseSoftwareOpenGL);
    }
    QApplication application(argc, argv);
    if (has("--styled"))
        application.setStyleSheet(QStringLiteral(
            "* { color: red; background: yellow; border: 5px solid blue; margin: 7px; "
            "padding: 9px; font-size: 30pt }"));
#ifdef PELORIN_HOST_USES_ENGINE
    // Using the engine under a second application object would end the process.
    static bool isUsed = false;
    std::optional<QWebEngineProfile> profile;
    std::optional<QWebEnginePage> page;
    if (!std::exchange(isUsed, true)) {
        profile.emplace();
        page.emplace(&*profile);
        page->setHtml(QStringLiteral("The host's own page"));
    }
#endif
    OlvNewsWebView view;
    view.setProgramFolder(options.value(options.indexOf(QStringLiteral("--folder")) + 1));
    view.resize(300, 200);
    view.loadHtmlString(QStringLiteral("<body style='background:#20c040'><p>An item</p>"));
    view.show();
    if (has("--leave"))
        return 0;
    const auto isText = [&view] { return view.findChild<QTextBrowser *>() != nullptr; };
    QRgb awaited = background;
    const auto paints = [&] {
        while (has("--reap") && ::waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        if (has("--web") && isText()) {
            view.hide();
            view.show();
        }
        return isPainted(view, awaited);
    };
    bool isShown = runUntil(paints);
    if (has("--kill")) {
        killChildren();
        awaited = nextBackground;
        view.loadHtmlString(QStringLiteral("<body style='background:#4020c0'><p>The next item"));
        isShown = runUntil(paints);
    }
    if (has("--fork"))
        makeCopy();
    if (has("--stay"))
        runUntil([] { return false; });
    if (has("--reopen")) {
        view.hide();
        view.show();
        isShown = runUntil(paints);
    }
    std::fprintf(stderr, "renderer: %s\n", isText() ? "text" : "web");
    if (has("--quit"))
        std::exit(0);
    return isShown ? 0 : 1;
}

}  // namespace

int main(int argc, char *argv[]) {
    QStringList options;
    for (int each = 1; each < argc; ++each)
        options.append(QString::fromLocal8Bit(argv[each]));
    if (options.contains(QLatin1String("--ignore")))
        ::signal(SIGCHLD, SIG_IGN);
    if (options.contains(QLatin1String("--handler")))
        ::signal(SIGCHLD, reapAll);
    if (options.contains(QLatin1String("--closed")))
        closeAll();
    if (options.contains(QLatin1String("--blocked")))
        blockSignals();
    if (options.contains(QLatin1String("--strict")))
        qInstallMessageHandler(endAtWarnings);
    if (options.contains(QLatin1String("--lost")) && !leaveFolder())
        return 1;
    if (options.contains(QLatin1String("--confined")) && !confine())
        return 1;
    for (int i = 0; options.contains(QLatin1String("--open")) && i < 1000; ++i)
        static_cast<void>(::open("/dev/null", O_RDONLY));
    if (options.contains(QLatin1String("--late")))
        const QApplication first(argc, argv);
    const int status = run(argc, argv, options);
    if (status != 0 || !options.contains(QLatin1String("--again")))
        return status;
    return run(argc, argv, options);
}
