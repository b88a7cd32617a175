// A page process that breaks the protocol, or acts without the user.

#include "TestMain.h"
#include "rendering/PageWidget.h"
#include "rendering/WebNewsRenderer.h"

#include <QClipboard>
#include <QFile>
#include <QPointer>
#include <QTemporaryDir>
#include <QTextBrowser>

#include <csignal>

using namespace pelorinnews;

class HostileProcessTest : public QObject, private NavigationPolicyDelegate {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void isKilledForAViolation_data();
    void isKilledForAViolation();
    void cannotActWithoutTheUser();
    void getsThePrimarySelectionAfterAMiddleClickOnly();
    void cannotKeepTheHostBusy();
    void keepsTheTextForAFrameOfAnEarlierSize();

private:
    NavigationDecision webViewDecidePolicyForNavigationAction(NavigationType,
                                                              const QUrl &) override {
        ++_navigations;
        return NavigationDecision::Use;
    }
    // Shows a page with a process that does what `name` says.
    void start(const QString &name);
    void show(const QString &program);

    int _navigations = 0;
    QTemporaryDir _folder;
    std::unique_ptr<QWidget> _window;
    std::unique_ptr<WebNewsRenderer> _renderer;
};

void HostileProcessTest::init() {
    _navigations = 0;
    _window = std::make_unique<QWidget>();
    _window->resize(300, 200);
    _window->show();
    QVERIFY(QTest::qWaitForWindowActive(_window.get(), testPatience));
}

void HostileProcessTest::cleanup() {
    _renderer.reset();
    _window.reset();
}

void HostileProcessTest::start(const QString &name) {
    const QString program = _folder.filePath(name);
    QVERIFY(QFile::link(QStringLiteral(PELORIN_HOSTILE_PROCESS), program));
    show(program);
    QVERIFY(_renderer->process() > 0);
}

void HostileProcessTest::show(const QString &program) {
    // At the first failure, the text renderer takes over. A busy computer is no failure.
    const WebNewsRenderer::Limits limits{.failures = 1, .ready = std::chrono::minutes(1)};
    _renderer = std::make_unique<WebNewsRenderer>(_window.get(), program, limits);
    _renderer->setPolicyDelegate(this);
    _renderer->widget()->setGeometry(_window->rect());
    _renderer->widget()->show();
    _renderer->loadHtmlString(QStringLiteral("The page"), PageKind::Item);
}

void HostileProcessTest::isKilledForAViolation_data() {
    QTest::addColumn<QString>("name");
    for (const char *name :
         {"speaks before it is ready", "is ready twice", "has a page that was never sent",
          "shows a page that was never sent", "navigates a page that was never sent",
          "paints into buffers that it never got", "paints into a buffer that it gave away",
          "answers without being asked", "sends half a datagram", "sends a descriptor",
          "sends a text without end", "sends a text that is not UTF-8",
          "sends a text of negative length", "sends a message of unknown type",
          "names a cursor that does not exist", "opens a pop-up without size",
          "points at a link of a page that was never sent", "points at a link that is too long",
          "points at a link whose text is too long"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void HostileProcessTest::isKilledForAViolation() {
    QFETCH(const QString, name);
    start(name);
    const auto process = static_cast<pid_t>(_renderer->process());
    QTRY_VERIFY(_window->findChild<QTextBrowser *>() != nullptr);
    QCOMPARE(_window->findChild<QTextBrowser *>()->toPlainText(), QStringLiteral("The page"));
    QTRY_VERIFY(::kill(process, 0) != 0);
    QCOMPARE(_navigations, 0);
}

void HostileProcessTest::cannotActWithoutTheUser() {
    QClipboard *clipboard = QGuiApplication::clipboard();
    clipboard->setText(QStringLiteral("before"));
    clipboard->setText(QStringLiteral("before"), QClipboard::Selection);
    QWidget other(_window.get());
    other.setFocusPolicy(Qt::StrongFocus);
    other.show();
    start(QStringLiteral("acts without the user"));
    auto *page = _window->findChild<PageWidget *>();
    page->setFocusPolicy(Qt::StrongFocus);
    page->setFocus();
    // The last message of the process.
    QTRY_COMPARE(page->cursor().shape(), Qt::WaitCursor);
    QCOMPARE(_navigations, 0);
    QCOMPARE(clipboard->text(), QStringLiteral("before"));
    QCOMPARE(clipboard->text(QClipboard::Selection), QStringLiteral("before"));
    QVERIFY(page->hasFocus());
    QVERIFY(QApplication::activePopupWidget() == nullptr);
    QVERIFY(_window->findChild<QTextBrowser *>() == nullptr);
}

void HostileProcessTest::getsThePrimarySelectionAfterAMiddleClickOnly() {
    QGuiApplication::clipboard()->setText(QStringLiteral("secret"), QClipboard::Selection);
    start(QStringLiteral("asks for the primary selection"));
    auto *page = _window->findChild<PageWidget *>();
    // The process answers each key press with a shape.
    for (int i = 0; i < 10; ++i) {
        page->unsetCursor();
        QTest::mouseClick(page, Qt::LeftButton, {}, QPoint(50, 50));
        QTest::keyClick(page, Qt::Key_X);
        QTRY_COMPARE(page->cursor().shape(), Qt::WaitCursor);
    }
    QTest::mouseClick(page, Qt::MiddleButton, {}, QPoint(50, 50));
    const auto shape = [page] {
        QTest::keyClick(page, Qt::Key_X);
        return page->cursor().shape();
    };
    QTRY_COMPARE(shape(), Qt::ForbiddenCursor);
}

void HostileProcessTest::cannotKeepTheHostBusy() {
    start(QStringLiteral("never stops"));
    auto *page = _window->findChild<PageWidget *>();
    QTRY_VERIFY(!page->toolTip().isEmpty());
    int turns = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&turns] { ++turns; });
    timer.start(1);
    QTRY_VERIFY(turns >= 20);
    QVERIFY(_window->findChild<QTextBrowser *>() == nullptr);
}

// No process of bad intent: such a frame may be on its way when the window is resized.
void HostileProcessTest::keepsTheTextForAFrameOfAnEarlierSize() {
    const QString program = _folder.filePath(QStringLiteral("paints an earlier size"));
    show(program);
    QPointer<QTextBrowser> text = _window->findChild<QTextBrowser *>();
    QVERIFY(text);
    QVERIFY(QFile::link(QStringLiteral(PELORIN_HOSTILE_PROCESS), program));
    _renderer->widget()->hide();
    _renderer->widget()->show();
    _renderer->widget()->resize(250, 150);
    const auto *page = _window->findChild<PageWidget *>();
    QTRY_COMPARE(page->cursor().shape(), Qt::WaitCursor);
    QVERIFY(text);
}

PELORIN_WIDGET_TEST_MAIN(HostileProcessTest)
#include "HostileProcessTest.moc"
