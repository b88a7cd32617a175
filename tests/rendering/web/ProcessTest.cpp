// Failures of the page process: it is killed, crashes or hangs. The host survives them and shows
// the same page again.

#include "RendererFixture.h"
#include "TestMain.h"
#include "platform/FileDescriptor.h"
#include "rendering/PageWidget.h"
#include "rendering/WebNewsRenderer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QPixmap>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QScreen>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <QThread>
#include <QTimer>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

const QPoint corner(480, 280);
const QString program = QStringLiteral(PELORIN_PAGE_PROCESS_DIR "/pelorin-news-page");

// A web renderer with limits of its own, in a window.
struct LimitedRenderer {
    explicit LimitedRenderer(const WebNewsRenderer::Limits &limits,
                             const QString &started = program)
        : renderer((EngineAccess::instance().forgetConnections(), &window), started, limits) {
        window.resize(500, 300);
        renderer.widget()->setGeometry(window.rect());
        renderer.widget()->show();
        window.show();
        if (!QTest::qWaitForWindowActive(&window, testPatience))
            qFatal("the window does not become active");
        auto *page = window.findChild<PageWidget *>();
        page->setFocusPolicy(Qt::StrongFocus);
        page->setFocus();
    }
    [[nodiscard]] bool isText() const { return window.findChild<QTextBrowser *>() != nullptr; }
    [[nodiscard]] QString text() { return engine.ask(QStringLiteral("text")).toString(); }
    [[nodiscard]] QColor pixel(QPoint place) {
        return window.grab({place, QSize(1, 1)}).toImage().pixelColor(0, 0);
    }
    void click(QPoint place) const {
        QTest::mouseClick(window.findChild<PageWidget *>(), Qt::LeftButton, {}, place);
    }
    // Loads a page with a list at its upper left corner, and waits until it is painted.
    void showList() {
        renderer.loadHtmlString(listPage, PageKind::Item);
        QTRY_COMPARE(pixel(corner), ground);
    }

    const QString listPage = page(QStringLiteral(
        "<select style='width:150px;height:80px'><option>One<option>Two</select><input autofocus>"
        "The page"));
    QWidget window;
    WebNewsRenderer renderer;
    Engine engine;
};

QByteArray contentOf(const QString &path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

void writeProgram(const QString &path, const QByteArray &lines) {
    QFile script(path);
    QVERIFY(script.open(QFile::WriteOnly));
    script.write(lines);
    script.close();
    QVERIFY(script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

// Writes a program that runs and does nothing.
void writeSilentProgram(const QString &path) {
    writeProgram(path, "#!/bin/sh\nexec sleep 60\n");
}

// Writes a program that becomes the page process as soon as the file `signal` exists.
void writeWaitingProgram(const QString &path, const QString &signal) {
    writeProgram(path, "#!/bin/sh\nwhile [ ! -e '" + QFile::encodeName(signal) +
                           "' ]; do sleep 0.05; done\nexec '" + QFile::encodeName(program) +
                           "' \"$@\"\n");
}

bool hasColour(const QImage &image, const QColor &colour) {
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y) == colour)
                return true;
    return false;
}

// The process and all its descendants.
QStringList withDescendants(const QString &process) {
    QStringList all{process};
    const QString children =
        QString::fromLatin1(contentOf(QStringLiteral("/proc/%1/task/%1/children").arg(process)));
    for (const QString &child : children.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        all += withDescendants(child);
    return all;
}

}  // namespace

class ProcessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { _fixture = std::make_unique<RendererFixture>(Painter::Web); }
    void cleanup() { _fixture.reset(); }

    void showsTheSamePageAfterItsProcessHasEnded_data();
    void showsTheSamePageAfterItsProcessHasEnded();
    void paintsTextAfterTheThirdFailure();
    void triesAgainWithTheNextOpening();
    void triesAProgramThatIsInstalledLater();
    void paintsTextIfTheProcessIsNotReadyInTime();
    void keepsTheTextUntilTheProcessPaints();
    void paintsTextIfTheProcessPaintsNothing();
    void replacesAStoppedProcess_data();
    void replacesAStoppedProcess();
    void makesNoBuffersForAStoppedProcess();
    void tellsANewProcessOfTheFocus();
    void tellsANewProcessThatTheFocusHasLeft();
    void keepsTheTextWhileItIsDragged();
    void acceptsAnyTimesOfTheHost();
    void keepsFontAndZoomInANewProcess();
    void endsItsProcessSomeTimeAfterClosing();
    void showsADiscardedPageAgain();
    void givesItsProcessNothingOfTheHosts();
    void holdsThroughManyKills();
    void showsNoEarlierPageWhenOpenedAgain();
    void showsNoEarlierPageAfterALongTime();
    void holdsAnEarlierStatusBackInOtherColours();
    void holdsAnEarlierPageBackUntilTheNextIsLoaded();
    void startsWithoutAWhiteFlash();
    void keepsNoPictureWhileClosed();
    void endsItsProcessWithTheView();
    void twoViewsHaveAProcessEach();

private:
    void end(int signal) const {
        QCOMPARE(::kill(static_cast<pid_t>(_fixture->engine().process()), signal), 0);
    }
    void waitFor(const QString &text) const { QTRY_COMPARE(_fixture->text(), text); }

    std::unique_ptr<RendererFixture> _fixture;
};

void ProcessTest::showsTheSamePageAfterItsProcessHasEnded_data() {
    QTest::addColumn<int>("signal");
    QTest::addColumn<QString>("doing");
    for (const char *doing : {"resting", "loading", "typing", "scrolling", "choosing", "closed"}) {
        QTest::addRow("killed, %s", doing) << SIGKILL << doing;
        QTest::addRow("crashed, %s", doing) << SIGSEGV << doing;
    }
}

void ProcessTest::showsTheSamePageAfterItsProcessHasEnded() {
    QFETCH(const int, signal);
    QFETCH(const QString, doing);
    const QString html =
        page(QStringLiteral("<style>select,input{position:fixed;top:0;width:150px;height:80px}"
                            "input{left:300px}</style><select><option>One<option>Two</select>"
                            "<input><p style='margin-top:100px'>The page") +
             QStringLiteral("<p>row").repeated(100));
    _fixture->load(html);
    _fixture->waitForColour(corner, ground);
    const qint64 process = _fixture->engine().process();
    const auto input = [&] {
        if (doing == u"typing")
            QTest::keyClicks(_fixture->target(), QStringLiteral("abc"));
        if (doing == u"scrolling")
            QTest::keyClick(_fixture->target(), Qt::Key_PageDown);
    };
    if (doing == u"typing")
        QTest::mouseClick(_fixture->target(), Qt::LeftButton, {}, QPoint(400, 40));
    input();
    if (doing == u"choosing") {
        QTest::mouseClick(_fixture->target(), Qt::LeftButton, {}, QPoint(50, 50));
        QTRY_VERIFY(QApplication::activePopupWidget() != nullptr);
    }
    if (doing == u"closed")
        _fixture->view.hide();
    if (doing == u"loading")
        _fixture->view.loadHtmlString(html);
    end(signal);
    if (doing == u"closed") {
        _fixture->view.show();
    } else {
        // The last frame stays on the screen until the next process has painted.
        for (int i = 0; i < 20; ++i) {
            QCOMPARE(_fixture->pixel(corner), ground);
            QTest::qWait(5);
        }
    }
    input();
    QTRY_VERIFY(_fixture->engine().process() != process);
    QTRY_VERIFY(_fixture->text().contains(QStringLiteral("The page")));
    _fixture->waitForColour(corner, ground);
    QVERIFY(QApplication::activePopupWidget() == nullptr);
    QVERIFY(_fixture->browser() == nullptr);
    // Input arrives at the new process, which may have scrolled by now.
    QTest::mouseClick(_fixture->target(), Qt::LeftButton, {}, QPoint(400, 40));
    QTRY_VERIFY(_fixture->hasFocusInPage());
}

void ProcessTest::paintsTextAfterTheThirdFailure() {
    for (int failure = 1; failure <= 3; ++failure) {
        _fixture->load(page(QStringLiteral("The page")));
        waitFor(QStringLiteral("The page"));
        QVERIFY(_fixture->browser() == nullptr);
        end(SIGKILL);
    }
    QTRY_VERIFY(_fixture->browser() != nullptr);
    QCOMPARE(_fixture->browser()->toPlainText(), QStringLiteral("The page"));
    _fixture->view.loadHtmlString(QStringLiteral("The next page"));
    QCOMPARE(_fixture->browser()->toPlainText(), QStringLiteral("The next page"));
}

void ProcessTest::triesAgainWithTheNextOpening() {
    paintsTextAfterTheThirdFailure();
    _fixture->view.hide();
    _fixture->view.show();
    QTRY_VERIFY(_fixture->browser() == nullptr);
    waitFor(QStringLiteral("The next page"));
}

void ProcessTest::triesAProgramThatIsInstalledLater() {
    const QTemporaryDir folder;
    const QString later = folder.filePath(QStringLiteral("pelorin-news-page"));
    LimitedRenderer limited({}, later);
    limited.renderer.loadHtmlString(page(QStringLiteral("The page")), PageKind::Item);
    QVERIFY(limited.isText());
    QVERIFY(QFile::link(program, later));
    limited.renderer.widget()->hide();
    limited.renderer.widget()->show();
    QTRY_COMPARE(limited.text(), QStringLiteral("The page"));
    QTRY_VERIFY(!limited.isText());
}

void ProcessTest::paintsTextIfTheProcessIsNotReadyInTime() {
    const QTemporaryDir folder;
    const QString silent = folder.filePath(QStringLiteral("silent"));
    writeSilentProgram(silent);
    LimitedRenderer limited({.ready = std::chrono::milliseconds(300)}, silent);
    const auto process = static_cast<pid_t>(limited.renderer.process());
    limited.renderer.loadHtmlString(page(QStringLiteral("The page")), PageKind::Item);
    QTRY_VERIFY(limited.isText());
    QCOMPARE(limited.renderer.process(), 0);
    if (process > 0)
        QTRY_VERIFY(::kill(process, 0) != 0);
}

void ProcessTest::keepsTheTextUntilTheProcessPaints() {
    const QTemporaryDir folder;
    const QString later = folder.filePath(QStringLiteral("pelorin-news-page"));
    LimitedRenderer limited({.ready = std::chrono::milliseconds(300)}, later);
    limited.renderer.loadHtmlString(page(QStringLiteral("The page")), PageKind::Item);
    const auto *text = limited.window.findChild<QTextBrowser *>();
    QVERIFY(text);
    writeSilentProgram(later);
    limited.renderer.widget()->hide();
    limited.renderer.widget()->show();
    QVERIFY(limited.renderer.process() > 0);
    limited.renderer.loadHtmlString(page(QStringLiteral("The next page")), PageKind::Item);
    QCOMPARE(limited.window.findChild<QTextBrowser *>(), text);
    QCOMPARE(text->toPlainText(), QStringLiteral("The next page"));
    QCOMPARE(limited.window.childAt(100, 100)->parent(), text);
    QTRY_COMPARE(limited.renderer.process(), 0);
    QCOMPARE(limited.window.findChild<QTextBrowser *>(), text);
    QVERIFY(!limited.window.findChild<PageWidget *>()->isVisible());
}

// The page is not painted before its style sheet comes, or before some seconds have passed: time to
// stop the engine.
void ProcessTest::paintsTextIfTheProcessPaintsNothing() {
    LimitedRenderer empty({.failures = 1});
    empty.renderer.loadHtmlString(QStringLiteral("<p>"), PageKind::Item);
    const qint64 process = empty.engine.process();
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    LimitedRenderer limited({.failures = 1});
    limited.renderer.loadHtmlString(
        QStringLiteral("<link rel='stylesheet' href='http://127.0.0.1:%1/'>The page")
            .arg(silent.serverPort()),
        PageKind::Item);
    QTRY_VERIFY(silent.hasPendingConnections());
    const auto engine = static_cast<pid_t>(limited.engine.state()[u"engineProcess"].toInteger());
    QVERIFY(engine > 0);
    const auto end = qScopeGuard([engine] { ::kill(engine, SIGKILL); });
    QCOMPARE(::kill(engine, SIGSTOP), 0);
    QTRY_VERIFY(limited.isText());
    QCOMPARE(limited.window.findChild<QTextBrowser *>()->toPlainText(), QStringLiteral("The page"));
    // Its time has been up for longer.
    QVERIFY(!empty.isText());
    QCOMPARE(empty.renderer.process(), process);
}

void ProcessTest::replacesAStoppedProcess_data() {
    QTest::addColumn<QString>("doing");
    // A stopped process is noticed only when it does not react to something.
    for (const char *doing :
         {"clicking", "typing", "scrolling", "loading", "choosing", "resizing", "closed"})
        QTest::newRow(doing) << doing;
}

void ProcessTest::replacesAStoppedProcess() {
    QFETCH(const QString, doing);
    LimitedRenderer limited({.failures = 100, .answer = std::chrono::seconds(1)});
    limited.showList();
    if (QTest::currentTestFailed())
        return;
    if (doing == u"choosing") {
        const auto opens = [&limited] {
            if (QApplication::activePopupWidget() == nullptr)
                limited.click({50, 50});
            return QTest::qWaitFor([] { return QApplication::activePopupWidget() != nullptr; },
                                   1000);
        };
        waitUntil(opens, "the list does not open");
    }
    if (doing == u"closed")
        limited.renderer.widget()->hide();
    const qint64 process = limited.engine.process();
    QCOMPARE(::kill(static_cast<pid_t>(process), SIGSTOP), 0);
    if (doing == u"clicking")
        limited.click({400, 200});
    if (doing == u"typing")
        QTest::keyClicks(limited.window.findChild<PageWidget *>(), QStringLiteral("abc"));
    if (doing == u"scrolling")
        QTest::keyClick(limited.window.findChild<PageWidget *>(), Qt::Key_PageDown);
    if (doing == u"loading")
        limited.renderer.loadHtmlString(page(QStringLiteral("The page")), PageKind::Item);
    if (doing == u"choosing")
        QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Down);
    if (doing == u"resizing")
        limited.renderer.widget()->resize(490, 295);
    if (doing == u"closed")
        limited.renderer.widget()->show();
    QTRY_VERIFY(limited.engine.process() != process);
    QTRY_VERIFY(limited.text().contains(QStringLiteral("The page")));
    QTRY_COMPARE(limited.pixel(corner), ground);
    QVERIFY(QApplication::activePopupWidget() == nullptr);
    QTRY_VERIFY(::kill(static_cast<pid_t>(process), 0) != 0);
}

void ProcessTest::makesNoBuffersForAStoppedProcess() {
    LimitedRenderer limited({});
    limited.showList();
    const auto descriptors = [] {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
    };
    const qsizetype before = descriptors();
    const auto process = static_cast<pid_t>(limited.engine.process());
    QCOMPARE(::kill(process, SIGSTOP), 0);
    for (int i = 0; i < 200; ++i)
        limited.renderer.widget()->resize(300 + i, 300);
    QVERIFY(descriptors() < before + 10);
    QCOMPARE(::kill(process, SIGCONT), 0);
    const auto width = [&] {
        return limited.engine.ask(QStringLiteral("evaluate"), QStringLiteral("innerWidth")).toInt();
    };
    QTRY_COMPARE(width(), 499);
    QTRY_COMPARE(limited.pixel(corner), ground);
    QCOMPARE(limited.engine.process(), process);
}

// The focus may move while the text renderer is in use.
void ProcessTest::tellsANewProcessOfTheFocus() {
    QWidget window;
    QPushButton other(QStringLiteral("Other"), &window);
    OlvNewsWebView &view = _fixture->view;
    view.setParent(&window);
    const auto parentless = qScopeGuard([&view] { view.setParent(nullptr); });
    view.setGeometry(0, 0, 500, 200);
    other.setGeometry(0, 240, 100, 30);
    window.resize(500, 300);
    window.show();
    view.show();
    QVERIFY(QTest::qWaitForWindowActive(&window, testPatience));
    for (const bool isFocused : {true, false}) {
        view.setFocus();
        for (int failure = 0; failure < 3; ++failure) {
            _fixture->load(page(QStringLiteral("The page")));
            waitFor(QStringLiteral("The page"));
            end(SIGKILL);
        }
        QTRY_VERIFY(_fixture->browser() != nullptr);
        view.hide();
        view.show();
        if (isFocused)
            view.setFocus();
        else
            other.setFocus();
        QTRY_VERIFY(_fixture->browser() == nullptr);
        waitFor(QStringLiteral("The page"));
        const QString hasFocus = QStringLiteral("document.hasFocus()");
        QTRY_COMPARE(_fixture->evaluated(hasFocus).toBool(), isFocused);
    }
}

// While the text renderer is above the starting process. Other colours start another process, when
// the view has the focus.
void ProcessTest::tellsANewProcessThatTheFocusHasLeft() {
    const QPalette before = QApplication::palette();
    const auto restore = qScopeGuard([&before] { QApplication::setPalette(before); });
    _fixture.reset();
    EngineAccess::instance().forgetConnections();
    const QTemporaryDir folder;
    QWidget window;
    OlvNewsWebView view(&window);
    QPushButton other(QStringLiteral("Other"), &window);
    view.setProgramFolder(folder.path());
    view.setGeometry(0, 0, 500, 200);
    other.setGeometry(0, 240, 100, 30);
    window.resize(500, 300);
    view.loadHtmlString(page(QStringLiteral("<input autofocus>")));
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window, testPatience));
    view.setFocus();
    const QString signal = folder.filePath(QStringLiteral("signal"));
    writeWaitingProgram(folder.filePath(QStringLiteral("pelorin-news-page")), signal);
    view.hide();
    view.show();
    view.setFocus();
    QVERIFY(view.hasFocus());
    QPalette dark(QColor(0x30, 0x30, 0x30));
    dark.setColor(QPalette::Base, Qt::black);
    dark.setColor(QPalette::Text, Qt::white);
    QApplication::setPalette(dark);
    QTest::qWait(100);
    QVERIFY(view.findChild<QTextBrowser *>() != nullptr);
    other.setFocus();
    QVERIFY(view.findChild<QTextBrowser *>() != nullptr);
    QVERIFY(QFile(signal).open(QFile::WriteOnly));
    QTRY_VERIFY(view.findChild<QTextBrowser *>() == nullptr);
    Engine engine;
    const auto hasFocus = [&engine] {
        return engine.ask(QStringLiteral("evaluate"), QStringLiteral("document.hasFocus()"))
            .toBool();
    };
    // The process gets the focus that it had been told of when the page is painted.
    QTest::qWait(300);
    QTRY_VERIFY(!hasFocus());
    view.setFocus();
    QTRY_VERIFY(hasFocus());
}

// A drag runs an event loop of its own within the event handler of the dragged text's widget.
void ProcessTest::keepsTheTextWhileItIsDragged() {
    _fixture.reset();
    const QTemporaryDir folder;
    const QString later = folder.filePath(QStringLiteral("pelorin-news-page"));
    const QString signal = folder.filePath(QStringLiteral("signal"));
    LimitedRenderer limited({.ready = std::chrono::minutes(1)}, later);
    limited.renderer.loadHtmlString(page(QStringLiteral("<p style='font-size:60px'>The page")),
                                    PageKind::Item);
    QPointer<QTextBrowser> text = limited.window.findChild<QTextBrowser *>();
    QVERIFY(text);
    writeWaitingProgram(later, signal);
    limited.renderer.widget()->hide();
    limited.renderer.widget()->show();
    QVERIFY(limited.renderer.process() > 0);
    text->selectAll();
    QStringList command;
    for (int step = 0; step < 8; ++step) {
        const QPoint place =
            text->viewport()->mapToGlobal(text->cursorRect().center() - QPoint(40 + 10 * step, 0));
        command += {QStringLiteral("mousemove"), QString::number(place.x()),
                    QString::number(place.y()), QStringLiteral("sleep"), QStringLiteral("0.1")};
        if (step == 0)
            command += {QStringLiteral("mousedown"), QStringLiteral("1")};
    }
    const auto *page = limited.window.findChild<PageWidget *>();
    int turnsWithBoth = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, &timer, [&] {
        if (QThread::currentThread()->loopLevel() > 0)
            QFile(signal).open(QFile::WriteOnly);
        if (text && page->shownPage() > 0 && ++turnsWithBoth == 10)
            QProcess::startDetached(QStringLiteral("xdotool"),
                                    {QStringLiteral("mouseup"), QStringLiteral("1")});
    });
    timer.start(50);
    QProcess::startDetached(QStringLiteral("xdotool"), command);
    QTRY_VERIFY(turnsWithBoth >= 10 && !text);
    QTRY_COMPARE(limited.pixel(corner), ground);
}

// The host's own settings may be longer than the process accepts.
void ProcessTest::acceptsAnyTimesOfTheHost() {
    const auto restore = qScopeGuard(
        [click = QApplication::doubleClickInterval(), flash = QApplication::cursorFlashTime()] {
            QApplication::setDoubleClickInterval(click);
            QApplication::setCursorFlashTime(flash);
        });
    QApplication::setDoubleClickInterval(100'000);
    QApplication::setCursorFlashTime(-1);
    LimitedRenderer limited({});
    limited.showList();
    QVERIFY(!limited.isText());
}

void ProcessTest::keepsFontAndZoomInANewProcess() {
    const auto style = [this] {
        return _fixture->evaluated(QStringLiteral(
            "[devicePixelRatio, document.getElementById('text').offsetWidth].join(' ')"));
    };
    _fixture->view.setStandardFontFamily(QStringLiteral("DejaVu Sans Mono"));
    const QKeyEvent larger(QEvent::KeyPress, Qt::Key_Plus, Qt::ControlModifier);
    for (int i = 0; i < 3; ++i)
        QVERIFY(_fixture->view.performKeyEquivalent(larger));
    _fixture->load(page(QStringLiteral("<span id=text>Will iii</span>")));
    QTRY_VERIFY(style().toString().startsWith(QStringLiteral("1.5 ")));
    const QVariant before = style();
    const qint64 process = _fixture->engine().process();
    end(SIGKILL);
    QTRY_VERIFY(_fixture->engine().process() != process);
    QTRY_COMPARE(style(), before);
    // Another font has another width, so the comparison can fail.
    _fixture->view.setStandardFontFamily(QStringLiteral("DejaVu Sans"));
    QTRY_VERIFY(style() != before);
}

void ProcessTest::endsItsProcessSomeTimeAfterClosing() {
    LimitedRenderer limited({.end = std::chrono::milliseconds(100)});
    limited.showList();
    const auto process = static_cast<pid_t>(limited.renderer.process());
    limited.renderer.widget()->hide();
    QTRY_COMPARE(limited.renderer.process(), 0);
    QTRY_VERIFY(::kill(process, 0) != 0);
    limited.renderer.widget()->show();
    QTRY_COMPARE(limited.pixel(corner), ground);
    QVERIFY(!limited.isText());
}

void ProcessTest::showsADiscardedPageAgain() {
    LimitedRenderer limited({.discard = std::chrono::milliseconds(100)});
    limited.showList();
    limited.renderer.widget()->hide();
    QTRY_VERIFY(limited.engine.state()[u"isDiscarded"].toBool());
    limited.renderer.widget()->show();
    QTRY_COMPARE(limited.pixel(corner), ground);
    QVERIFY(!limited.engine.state()[u"isDiscarded"].toBool());
}

void ProcessTest::givesItsProcessNothingOfTheHosts() {
    _fixture.reset();
    qputenv("PELORIN_SECRET", "of the host");
    const QTemporaryDir folder;
    const QString secret = folder.filePath(QStringLiteral("secret"));
    // Without O_CLOEXEC, as careless hosts open files.
    const FileDescriptor opened(
        ::open(QFile::encodeName(secret).constData(), O_CREAT | O_RDWR, 0600));
    const FileDescriptor openedAgain(::fcntl(opened.get(), F_DUPFD, 500));
    QVERIFY(openedAgain.isValid());
    const auto before = ::signal(SIGUSR1, SIG_IGN);
    _fixture = std::make_unique<RendererFixture>(Painter::Web);
    ::signal(SIGUSR1, before);
    qunsetenv("PELORIN_SECRET");
    _fixture->load(page(QStringLiteral("The page")));
    const QString process = QString::number(_fixture->engine().process());
    const QStringList all = withDescendants(process);
    // The engine's helper and the page's process.
    QVERIFY(all.size() >= 3);
    for (const QString &each : all) {
        const QString place = QStringLiteral("/proc/%1/").arg(each);
        const QByteArrayList variables = contentOf(place + QStringLiteral("environ")).split('\0');
        QVERIFY(each != process || variables.contains("DBUS_SESSION_BUS_ADDRESS=disabled:"));
        for (const QByteArray &variable : variables) {
            for (const char *unwanted : {"DISPLAY=", "WAYLAND_DISPLAY=", "XAUTHORITY=", "PELORIN_"})
                QVERIFY2(!variable.startsWith(unwanted), variable.constData());
        }
        for (const QFileInfo &file :
             QDir(place + QStringLiteral("fd"))
                 .entryInfoList(QDir::Files | QDir::System | QDir::NoDotAndDotDot))
            QVERIFY(file.symLinkTarget() != secret);
        const QByteArray status = contentOf(place + QStringLiteral("status"));
        QVERIFY(status.contains("\nNoNewPrivs:\t1\n"));
        static const QRegularExpression noCoreFiles(QStringLiteral("Max core file size +0 +0 "));
        const QString limits = QString::fromLatin1(contentOf(place + QStringLiteral("limits")));
        QVERIFY(noCoreFiles.match(limits).hasMatch());
    }
    for (const char *stream : {"0", "1", "2"})
        QCOMPARE(QFile::symLinkTarget(
                     QStringLiteral("/proc/%1/fd/%2").arg(process, QLatin1String(stream))),
                 QStringLiteral("/dev/null"));
    // A process that ignores SIGUSR1 has bit 9 (from the right, in hexadecimal) set.
    static const QRegularExpression ignored(QStringLiteral("SigIgn:\t([0-9a-f]+)"));
    const QString status =
        QString::fromLatin1(contentOf(QStringLiteral("/proc/%1/status").arg(process)));
    const QRegularExpressionMatch found = ignored.match(status);
    QVERIFY(found.hasMatch());
    QCOMPARE(found.captured(1).toULongLong(nullptr, 16) & (1ULL << (SIGUSR1 - 1)), 0ULL);
    QCOMPARE(::getsid(process.toInt()), process.toInt());
}

void ProcessTest::holdsThroughManyKills() {
    _fixture.reset();
    constexpr int kills = 200;
    LimitedRenderer limited({.failures = kills + 1});
    limited.renderer.loadHtmlString(page(QStringLiteral("The first page")), PageKind::Item);
    QTRY_COMPARE(limited.text(), QStringLiteral("The first page"));
    // Pseudo-random delays, from a fixed seed so that every run has the same ones.
    quint32 seed = 7;
    for (int kill = 0; kill < kills; ++kill) {
        limited.renderer.loadHtmlString(page(QStringLiteral("Page %1").arg(kill)), PageKind::Item);
        seed = seed * 1664525 + 1013904223;
        QTest::qWait(static_cast<int>(seed >> 24) % 100);
        QVERIFY(!limited.isText());
        // Most processes are killed while they start, so let some paint their page.
        if (kill % 10 == 0)
            QTRY_COMPARE(limited.text(), QStringLiteral("Page %1").arg(kill));
        const qint64 process = limited.renderer.process();
        if (process > 0)
            ::kill(static_cast<pid_t>(process), SIGKILL);
    }
    limited.renderer.loadHtmlString(page(QStringLiteral("The last page")), PageKind::Item);
    QTRY_COMPARE(limited.text(), QStringLiteral("The last page"));
}

void ProcessTest::showsNoEarlierPageWhenOpenedAgain() {
    const QColor other(0x40, 0x20, 0xc0);
    for (int i = 0; i < 10; ++i) {
        _fixture->load(page(QStringLiteral("The earlier page")));
        _fixture->waitForColour(corner, ground);
        const QPoint place = _fixture->view.mapToGlobal(corner);
        const auto isGone = [&] {
            const QPixmap shot = _fixture->view.screen()->grabWindow(0, place.x(), place.y(), 1, 1);
            return shot.toImage().pixelColor(0, 0) != ground;
        };
        _fixture->view.hide();
        // A window that is shown again before it has left the screen keeps its pixels there until
        // it is painted.
        waitUntil(isGone, "the window stays on the screen");
        QTest::qWait(20 * i);
        _fixture->view.loadHtmlString(
            QStringLiteral("<body style='background:#4020c0'>The next page"));
        _fixture->view.show();
        const auto isNextShown = [&] {
            const QColor now = _fixture->pixel(corner);
            if (now == ground)
                qFatal("the earlier page is shown");
            return now == other;
        };
        waitUntil(isNextShown, "the next page is not painted");
    }
}

// The panel shows its window first, and loads a page when the window is active.
void ProcessTest::holdsAnEarlierPageBackUntilTheNextIsLoaded() {
    LimitedRenderer limited({});
    const QColor other(0x40, 0x20, 0xc0);
    limited.showList();
    for (int i = 0; i < 10; ++i) {
        limited.renderer.widget()->hide();
        QTest::qWait(50);
        limited.renderer.widget()->show();
        QElapsedTimer clock;
        clock.start();
        while (!clock.hasExpired(100)) {
            QTest::qWait(5);
            // A busy computer may have waited for longer than an earlier page is held back.
            if (!clock.hasExpired(300))
                QCOMPARE(limited.pixel(corner), QColor(Qt::white));
        }
        limited.renderer.loadHtmlString(
            QStringLiteral("<body style='background:#4020c0'>The next page"), PageKind::Item);
        const auto isNextShown = [&] {
            if (limited.pixel(corner) == ground && !clock.hasExpired(300))
                qFatal("the earlier page is shown");
            return limited.pixel(corner) == other;
        };
        waitUntil(isNextShown, "the next page is not painted");
        limited.showList();
    }
    // Without another page, the earlier one comes back.
    limited.renderer.widget()->hide();
    limited.renderer.widget()->show();
    QTRY_COMPARE(limited.pixel(corner), ground);
}

// While the window is closed, nothing is painted, however long that takes.
void ProcessTest::showsNoEarlierPageAfterALongTime() {
    LimitedRenderer limited({});
    limited.showList();
    limited.renderer.widget()->hide();
    limited.renderer.loadHtmlString(QStringLiteral("<body style='background:#4020c0'>Next"),
                                    PageKind::Item);
    // Longer than a visible page may take to paint.
    QTest::qWait(6000);
    limited.renderer.widget()->show();
    const auto isNextShown = [&limited] {
        const QColor now = limited.pixel(corner);
        if (now == ground)
            qFatal("the earlier page is shown");
        return now == QColor(0x40, 0x20, 0xc0);
    };
    waitUntil(isNextShown, "the next page is not painted");
}

void ProcessTest::holdsAnEarlierStatusBackInOtherColours() {
    const QPalette before = QApplication::palette();
    const auto restore = qScopeGuard([&before] { QApplication::setPalette(before); });
    LimitedRenderer limited({});
    const auto showsText = [&] {
        return hasColour(limited.window.grab({0, 0, 200, 250}).toImage(),
                         before.color(QPalette::Text));
    };
    limited.renderer.loadHtmlString(QStringLiteral("<p style='font-size:100px'>\u25a0"),
                                    PageKind::Status);
    waitUntil(showsText, "the status is not painted");
    limited.renderer.widget()->hide();
    QPalette other = before;
    other.setColor(QPalette::Base, QColor(250, 240, 230));
    QApplication::setPalette(other);
    QTRY_COMPARE(limited.window.palette().color(QPalette::Base), QColor(250, 240, 230));
    QTest::qWait(50);
    limited.renderer.widget()->show();
    QElapsedTimer clock;
    clock.start();
    while (!clock.hasExpired(200)) {
        QTest::qWait(5);
        const bool isEarlierShown = showsText();
        // A busy computer may have waited for longer than an earlier page is held back.
        QVERIFY(!isEarlierShown || clock.hasExpired(300));
    }
    waitUntil(showsText, "the status does not come back");
}

// A new engine paints white before the page.
void ProcessTest::startsWithoutAWhiteFlash() {
    _fixture.reset();
    const QPalette before = QApplication::palette();
    const auto restore = qScopeGuard([&before] { QApplication::setPalette(before); });
    QPalette dark(QColor(0x30, 0x30, 0x30));
    dark.setColor(QPalette::Base, Qt::black);
    dark.setColor(QPalette::Text, Qt::yellow);
    QApplication::setPalette(dark);
    LimitedRenderer limited({});
    limited.renderer.loadHtmlString(QStringLiteral("<p style='font-size:100px'>\u25a0"),
                                    PageKind::Status);
    const auto isPainted = [&] {
        if (limited.pixel(corner) != QColor(Qt::black))
            qFatal("the window is not black");
        return hasColour(limited.window.grab({0, 0, 200, 250}).toImage(), Qt::yellow);
    };
    waitUntil(isPainted, "the text is not painted");
    QVERIFY(!limited.isText());
}

void ProcessTest::keepsNoPictureWhileClosed() {
    // This page is animated, so the engine sends new frames all the time.
    const QString restless = QStringLiteral(
        "<style>@keyframes turn { to { background: #c04020 } }"
        "body { background: #20c040; animation: turn 1s infinite alternate }</style>");
    _fixture->load(restless);
    for (int i = 0; i < 10; ++i) {
        _fixture->view.show();
        waitUntil([this] { return _fixture->pixel(corner) != QColor(Qt::white); },
                  "the page is not painted");
        _fixture->view.hide();
        QTest::qWait(100);
        QCOMPARE(_fixture->view.grab().toImage().pixelColor(corner), QColor(Qt::white));
    }
}

void ProcessTest::endsItsProcessWithTheView() {
    const auto process = static_cast<pid_t>(_fixture->engine().process());
    _fixture.reset();
    QTRY_VERIFY(::kill(process, 0) != 0);
}

void ProcessTest::twoViewsHaveAProcessEach() {
    RendererFixture other(Painter::Web);
    QVERIFY(other.engine().process() != _fixture->engine().process());
    other.load(QStringLiteral("The other page"));
    _fixture->load(QStringLiteral("The page"));
    end(SIGKILL);
    waitFor(QStringLiteral("The page"));
    QCOMPARE(other.text(), QStringLiteral("The other page"));
}

PELORIN_WIDGET_TEST_MAIN(ProcessTest)
#include "ProcessTest.moc"
