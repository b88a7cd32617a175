// A real input method, IBus with the engine Anthy, composes Japanese in a field of a page. The keys
// come from the X server, as from a keyboard.

#include "RendererFixture.h"
#include "TestHome.h"

#include <QApplication>
#include <QProcess>
#include <QTest>

#include <algorithm>
#include <array>
#include <csignal>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

/// IBus with Anthy as the engine. Qt finds it if it runs before the application object exists.
class InputMethod {
public:
    InputMethod() {
        int count = 0;
        const QCoreApplication application(count, nullptr);
        qputenv("GSETTINGS_BACKEND", "memory");
        // Anthy's program runs the first "python3" in the path; only the system's has its modules.
        qputenv("PATH", "/usr/bin:/bin");
        // Not a QProcess, which would not outlive this application object.
        std::array<std::string, 4> words{"ibus-daemon", "--panel=disable",
                                         "--emoji-extension=disable", "--config=disable"};
        std::array<char *, 5> arguments{};
        std::transform(words.begin(), words.end(), arguments.begin(),
                       [](std::string &word) { return word.data(); });
        if (::posix_spawnp(&_process, arguments.front(), nullptr, nullptr, arguments.data(),
                           environ) != 0)
            qFatal("the input method does not start");
        waitUntil([] { return selectEngine() == "anthy\n"; }, "Anthy does not start");
    }
    ~InputMethod() {
        ::kill(_process, SIGTERM);
        ::waitpid(_process, nullptr, 0);
    }
    InputMethod(const InputMethod &) = delete;
    InputMethod &operator=(const InputMethod &) = delete;

private:
    // Asks the daemon for the engine; returns which one it has then. The command for the first says
    // that it has failed although it has not.
    static QByteArray selectEngine() {
        QProcess asking;
        for (const QStringList &name : {QStringList{QStringLiteral("anthy")}, QStringList()}) {
            asking.start(QStringLiteral("ibus"), QStringList{QStringLiteral("engine")} + name);
            asking.waitForFinished();
        }
        return asking.readAllStandardOutput();
    }

    pid_t _process = 0;
};

}  // namespace

class InputMethodTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { _fixture.reset(); }

    void composesAndConverts();
    void correctsAndCancels();
    void keepsTextInItsFieldAfterAClick();
    void dropsTextOfAnEarlierPage();

private:
    static void press(const QStringList &keys) {
        const QStringList command{QStringLiteral("key"), QStringLiteral("--delay"),
                                  QStringLiteral("50")};
        QCOMPARE(QProcess::execute(QStringLiteral("xdotool"), command + keys), 0);
    }
    [[nodiscard]] QString value(const QString &field = QStringLiteral("field")) const {
        return _fixture->evaluated(QStringLiteral("document.getElementById('%1').value").arg(field))
            .toString();
    }

    std::unique_ptr<RendererFixture> _fixture;
};

void InputMethodTest::init() {
    _fixture = std::make_unique<RendererFixture>(Painter::Web);
    _fixture->load(page(QStringLiteral(
        "<form action=sent><style>input{display:block;font-size:40px;width:300px;height:100px}"
        "</style><input id=field><input id=other></form>")));
    _fixture->waitForColour({480, 280}, ground);
    _fixture->click({50, 50});
    QTRY_VERIFY(_fixture->view.inputMethodQuery(Qt::ImEnabled).toBool());
    // Anthy passes Latin letters on until it is told to compose.
    static bool isOn = false;
    if (!std::exchange(isOn, true))
        press({"ctrl+j"});
}

void InputMethodTest::composesAndConverts() {
    press({"n", "i", "h", "o", "n", "g", "o"});
    QTRY_COMPARE(value(), QStringLiteral("にほんご"));
    press({"space"});
    QTRY_COMPARE(value(), QStringLiteral("日本語"));
    // Enter ends the composing, and does not submit the form.
    press({"Return", "a"});
    QTRY_COMPARE(value(), QStringLiteral("日本語あ"));
    QVERIFY(_fixture->questions.isEmpty());
}

void InputMethodTest::correctsAndCancels() {
    press({"n", "i", "h", "o", "BackSpace"});
    QTRY_COMPARE(value(), QStringLiteral("に"));
    press({"Escape"});
    QTRY_COMPARE(value(), QString());
    press({"n", "i", "Return"});
    QTRY_COMPARE(value(), QStringLiteral("に"));
}

void InputMethodTest::keepsTextInItsFieldAfterAClick() {
    press({"n", "i", "h", "o"});
    QTRY_COMPARE(value(), QStringLiteral("にほ"));
    _fixture->click({50, 150});
    press({"k", "a"});
    QTRY_COMPARE(value(QStringLiteral("other")), QStringLiteral("か"));
    QCOMPARE(value(), QStringLiteral("にほ"));
    press({"Return"});
    QTRY_COMPARE(value(QStringLiteral("other")), QStringLiteral("か"));
}

void InputMethodTest::dropsTextOfAnEarlierPage() {
    press({"n", "i", "h", "o"});
    QTRY_COMPARE(value(), QStringLiteral("にほ"));
    _fixture->load(page(QStringLiteral("<input id=field autofocus>")));
    QTRY_VERIFY(_fixture->view.inputMethodQuery(Qt::ImEnabled).toBool());
    press({"k", "a", "Return"});
    QTRY_COMPARE(value(), QStringLiteral("か"));
}

int main(int argc, char *argv[]) {
    const TestHome home;
    const InputMethod inputMethod;
    const QApplication application(argc, argv);
    InputMethodTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "InputMethodTest.moc"
