// A host with its own window. Commands on standard input, one per line, make it load and operate
// the panel. It replies to each with one line; bench/weight/measure reads the replies.

#include "Panel.h"
#include "StallWatch.h"

#include <QApplication>
#include <QLibrary>
#include <QMainWindow>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QSocketNotifier>
#include <QToolBar>

#include <array>
#include <cstdio>
#include <malloc.h>
#include <unistd.h>

using namespace pelorinnews;
using namespace pelorinnews::bench;

namespace {

void answer(const char *format, double first = 0, double second = 0) {
    std::printf(format, first, second);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

class Commands {
public:
    /// Runs one command. False if the program must end.
    bool obey(const QByteArray &line) {
        const QList<QByteArray> words = line.split(' ');
        const QByteArray argument = words.value(1);
        const auto painted = [](std::optional<double> milliseconds) {
            answer("painted %.2f", milliseconds.value_or(-1));
        };
        const auto colour = static_cast<std::uint32_t>(argument.toUInt(nullptr, 16));
        if (words[0] == "quit") {
            _panel.exit();
            return false;
        }
        if (words[0] == "load") {
            const Panel::Cost cost = _panel.load(QString::fromLocal8Bit(argument));
            answer("loaded %.3f %.3f", cost.clock, cost.processor);
        } else if (words[0] == "show") {
            _panel.show(colour, painted);
        } else if (words[0] == "close") {
            _panel.close();
            answer("closed");
        } else if (words[0] == "next") {
            _panel.press(QStringLiteral("nextItem"), colour, painted);
        } else if (words[0] == "previous") {
            _panel.press(QStringLiteral("previousItem"), colour, painted);
        } else if (words[0] == "resize") {
            _panel.resize(argument.toInt(), words.value(2).toInt());
            answer("resized");
        } else if (words[0] == "scroll") {
            _panel.scroll([](const std::optional<ScrollWatch::Scrolling> &seen) {
                answer("scrolled %.2f %.2f", seen ? seen->framesPerSecond : -1,
                       seen ? seen->wheelToPixel : -1);
            });
        } else if (words[0] == "watch") {
            _stalls.begin();
            answer("watching");
        } else if (words[0] == "stall") {
            const StallWatch::Stall longest = _stalls.end();
            answer("stall %.2f %.2f", longest.clock, longest.processor);
        } else if (words[0] == "heap") {
            answer("heap %.0f", static_cast<double>(mallinfo2().uordblks));
        } else if (words[0] == "trust" || words[0] == "fetch") {
            useHttps(words[0] == "trust" ? "pelorinBenchTrust" : "pelorinBenchFetch", argument);
        } else {
            qFatal("unknown command: %s", line.constData());
        }
        return true;
    }

private:
    void useHttps(const char *function, const QByteArray &argument) {
        using Function = bool (*)(const char *);
        const auto use = reinterpret_cast<Function>(https.resolve(function));
        if (!use || !use(argument.constData()))
            qFatal("%s failed: %s", function, qPrintable(https.errorString()));
        answer("done");
    }

    Panel _panel;
    StallWatch _stalls;
    QLibrary https{QStringLiteral(PELORIN_BENCH_HTTPS)};
};

}  // namespace

int main(int argc, char *argv[]) {
    const QApplication application(argc, argv);
    // A blinking text cursor would wake the host and distort the measurements.
    QApplication::setCursorFlashTime(0);
    QMainWindow window;
    window.setCentralWidget(new QPlainTextEdit(QStringLiteral("A document"), &window));
    window.menuBar()->addMenu(QStringLiteral("File"))->addAction(QStringLiteral("Quit"));
    window.addToolBar(QStringLiteral("Tools"))->addAction(QStringLiteral("Save"));
    window.resize(400, 300);
    window.show();

    Commands commands;
    QByteArray received;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &window, [&] {
        std::array<char, 4096> bytes{};
        const ssize_t size = ::read(STDIN_FILENO, bytes.data(), bytes.size());
        received.append(bytes.data(), std::max<ssize_t>(size, 0));
        bool goesOn = size > 0;
        for (qsizetype end = 0; goesOn && (end = received.indexOf('\n')) >= 0;) {
            const QByteArray line = received.left(end);
            received.remove(0, end + 1);
            goesOn = commands.obey(line);
        }
        if (!goesOn)
            QApplication::quit();
    });
    answer("ready");
    return QApplication::exec();
}
