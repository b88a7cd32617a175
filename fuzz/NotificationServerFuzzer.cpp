// The promise tested: whatever the notification server and the bus answer and report, each question
// is answered once, well-formed answers arrive as they were sent, and only well-formed signals of
// the server that owns the name count.

#include "Input.h"
#include "RawBus.h"
#include "notifications/NotificationServer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <deque>

using namespace pelorinnews;
using Outcome = NotificationServer::Outcome;

namespace {

const QByteArray service = "org.freedesktop.Notifications";
const QByteArray servicePath = "/org/freedesktop/Notifications";
const QByteArray bus = "org.freedesktop.DBus";
const QByteArray busPath = "/org/freedesktop/DBus";

void require(bool holds, const char *what) {
    if (!holds)
        qFatal("%s", what);
}

/// A text of one line that D-Bus allows: UTF-8 without null characters.
QByteArray text(Input &input) {
    QString line = QString::fromUtf8(input.bytesUntil('\n'));
    line.remove(QChar(QChar::Null));
    return line.toUtf8();
}

/// A body, and of its first values what the model needs.
struct Values {
    MessageBody body;
    QList<quint32> numbers;
    QList<QByteArray> texts;
    QStringList list;
    bool truth = false;
};

void addValue(Input &input, Values &values) {
    MessageBody &body = values.body;
    switch (input.value<quint8>() % 16) {
        case 0:
        case 1:
            body.signature += 'u';
            values.numbers += input.value<quint32>();
            body.addNumber(values.numbers.last());
            break;
        case 2:
        case 3:
            body.signature += 's';
            values.texts += text(input);
            body.addText(values.texts.last());
            break;
        case 4:
            body.signature += 'b';
            values.truth = input.value<quint8>() % 2 == 1;
            body.addNumber(values.truth ? 1 : 0);
            break;
        case 5:
        case 6:
            body.signature += "as";
            body.addArray(4, [&] {
                for (int count = input.value<quint8>() % 8; count > 0; --count) {
                    const QByteArray element = text(input);
                    values.list += QString::fromUtf8(element);
                    body.addText(element);
                }
            });
            break;
        case 7:
            body.signature += 'i';
            body.addNumber(input.value<quint32>());
            break;
        case 8:
            body.signature += "a{sv}";
            body.addArray(8, [&] {
                for (int count = input.value<quint8>() % 4; count > 0; --count) {
                    body.align(8);
                    body.addText(text(input));
                    body.addSignature("u");
                    body.addNumber(input.value<quint32>());
                }
            });
            break;
        case 9: {
            body.signature += 'v';
            // A message may nest values 64 deep.
            for (int depth = input.value<quint8>() % 60; depth > 0; --depth)
                body.addSignature("v");
            body.addSignature("s");
            body.addText(text(input));
            break;
        }
        case 10:
            body.signature += 'd';
            body.addLong(input.value<quint64>());
            break;
        case 11:
            body.signature += 'x';
            body.addLong(input.value<quint64>());
            break;
        case 12:
            body.signature += "ay";
            body.addArray(1, [&] { body.bytes += text(input); });
            break;
        case 13:
            body.signature += "(us)";
            body.align(8);
            body.addNumber(input.value<quint32>());
            body.addText(text(input));
            break;
        case 14: {
            body.signature += 's';
            values.texts += QByteArray(input.value<quint16>(), 'x');
            body.addText(values.texts.last());
            break;
        }
        default:
            body.signature += 'o';
            body.addText("/a");
    }
}

Values valuesOf(Input &input) {
    Values values;
    for (int count = input.value<quint8>() % 5; count > 0; --count)
        addValue(input, values);
    return values;
}

struct Scripted {
    QByteArray errorName;
    Values values;
};

Scripted scriptedOf(Input &input) {
    static const QList<QByteArray> errors = {
        "org.freedesktop.DBus.Error.ServiceUnknown", "org.freedesktop.DBus.Error.NoReply",
        "org.freedesktop.DBus.Error.NameHasNoOwner", "org.freedesktop.DBus.Error.UnknownMethod",
        "org.freedesktop.DBus.Error.Failed",         "org.freedesktop.Notifications.Error"};
    const auto kind = input.value<quint8>();
    Scripted scripted;
    if (kind < errors.size())
        scripted.errorName = errors[kind];
    scripted.values = valuesOf(input);
    return scripted;
}

/// The program under test and its bus, for many inputs.
class Bench {
public:
    Bench() : _bus([this](const QByteArray &) { return nextAnswer(); }) {
        _wake.start(1000);
        connectToBus();
    }

    void run(Input input) {
        // Inputs follow one another on one connection: begin with the same owner.
        setOwner(":1.9");
        for (int steps = 0; steps < 12 && !input.isAtEnd(); ++steps)
            step(input);
    }

private:
    void connectToBus() {
        _server = std::make_unique<NotificationServer>(
            QStringLiteral("Host"), QStringLiteral("com.example.Host"), QStringLiteral("Open"));
        NotificationServer &server = *_server;
        QObject::connect(&server, &NotificationServer::closed, &server,
                         [this](quint32 id, quint32 reason) {
                             _seen += QStringLiteral("closed %1 %2").arg(id).arg(reason);
                         });
        QObject::connect(&server, &NotificationServer::activated, &server,
                         [this](quint32 id) { _seen += QStringLiteral("activated %1").arg(id); });
        QObject::connect(&server, &NotificationServer::activationTokenReceived, &server,
                         [this](quint32 id, const QString &token) {
                             _seen += QStringLiteral("token %1 %2").arg(id).arg(token);
                         });
        require(server.open(_bus.address()), "no connection");
        waitUntil([&server] { return server.isKnown(); }, "the owner does not become known");
        _owner = server.owner().toUtf8();
    }

    void step(Input &input) {
        switch (input.value<quint8>() % 16) {
            case 0:
            case 1:
            case 2:
                askTraits(input);
                break;
            case 3:
            case 4:
            case 5:
                notify(input);
                break;
            case 6:
                close(input);
                break;
            case 7:
                askIsOnBus(input);
                break;
            case 8:
                setOwner(text(input));
                break;
            case 9:
                // Seldom: a connection takes longer than the rest of an input.
                if (input.value<quint16>() == 0x5a5a)
                    loseBus();
                break;
            default:
                report(input);
        }
    }

    void askTraits(Input &input) {
        const Scripted capabilities = scriptedOf(input);
        const Scripted name = scriptedOf(input);
        script({capabilities, name});
        int calls = 0;
        std::optional<NotificationServer::Traits> came;
        _server->askTraits([&](std::optional<NotificationServer::Traits> traits) {
            ++calls;
            came = std::move(traits);
        });
        wait(calls);
        if (!isOwnerPossible())
            return;
        const bool isUnknown = capabilities.errorName.endsWith(".UnknownMethod");
        require(came.has_value() == (capabilities.errorName.isEmpty() || isUnknown),
                "another view of whether there are traits");
        if (!came)
            return;
        require(came->capabilities.has_value() == capabilities.errorName.isEmpty(),
                "capabilities of a server that told none, or the reverse");
        const MessageBody &told = capabilities.values.body;
        if (came->capabilities && told.signature == "as")
            require(*came->capabilities == capabilities.values.list, "other capabilities");
        const bool isNamed = name.errorName.isEmpty() && name.values.body.signature.startsWith('s');
        if (isNamed)
            require(came->name.toUtf8() == name.values.texts.first(), "another name");
        if (!name.errorName.isEmpty())
            require(came->name.isNull(), "a name of a server that told none");
    }

    void notify(Input &input) {
        NotificationServer::Traits traits;
        const auto bits = input.value<quint8>();
        if ((bits & 1) != 0)
            traits.capabilities = QStringList{QStringLiteral("actions")};
        if ((bits & 2) != 0)
            traits.capabilities = QStringList{QStringLiteral("body-markup")};
        UserNotification notification;
        notification.title = QString::fromUtf8(input.bytesUntil('\n'));
        notification.informativeText =
            QString::fromUtf8(input.bytesUntil('\n')).repeated(1 + (bits >> 2));
        const Scripted answer = scriptedOf(input);
        script({answer});
        int calls = 0;
        Outcome outcome = Outcome::ServerGone;
        quint32 id = 0;
        _server->notify(notification, traits, [&](Outcome came, quint32 serverId) {
            ++calls;
            outcome = came;
            id = serverId;
        });
        wait(calls);
        require((outcome == Outcome::Delivered) == (id != 0), "delivered without an id");
        if (!isOwnerPossible())
            return;
        if (!answer.errorName.isEmpty()) {
            const bool isGone = answer.errorName.endsWith("Unknown") ||
                                answer.errorName.endsWith("NoReply") ||
                                answer.errorName.endsWith("NameHasNoOwner");
            require(outcome == (isGone ? Outcome::ServerGone : Outcome::Refused),
                    "another meaning of an error");
        } else if (answer.values.body.signature.startsWith('u')) {
            require(id == answer.values.numbers.first(), "another id");
        } else if (answer.values.body.signature.isEmpty()) {
            require(outcome == Outcome::Refused, "delivered without an answer");
        }
    }

    void close(Input &input) {
        script({scriptedOf(input)});
        int calls = 0;
        _server->close(input.value<quint32>(), [&calls] { ++calls; });
        wait(calls);
    }

    void askIsOnBus(Input &input) {
        const Scripted answer = scriptedOf(input);
        script({answer});
        int calls = 0;
        bool isOnBus = false;
        _server->askIsOnBus(QStringLiteral(":1.7"), [&](bool came) {
            ++calls;
            isOnBus = came;
        });
        wait(calls);
        if (!answer.errorName.isEmpty())
            require(!isOnBus, "an error means that a program is there");
        else if (answer.values.body.signature.startsWith('b') &&
                 answer.values.body.signature.count('b') == 1)
            require(isOnBus == answer.values.truth, "another view of whether a program is there");
    }

    /// Sends a signal of the server or of another program.
    void report(Input &input) {
        static const QList<QByteArray> names = {"NotificationClosed", "ActionInvoked",
                                                "ActivationToken", "Other"};
        const auto bits = input.value<quint8>();
        const QByteArray &name = names[bits % 4];
        const bool isForeign = (bits & 4) != 0 || !_owner.startsWith(":1.");
        const Values values = valuesOf(input);
        _bus.sendSignal(isForeign ? QByteArray(":1.666") : _owner, servicePath, service, name,
                        values.body);
        waitForSignals();
        QStringList expected;
        const QByteArray signature = values.body.signature;
        if (!isForeign && name == names[0] && signature == "uu")
            expected +=
                QStringLiteral("closed %1 %2").arg(values.numbers[0]).arg(values.numbers[1]);
        if (!isForeign && name == names[1] && signature == "us")
            expected += QStringLiteral("activated %1").arg(values.numbers[0]);
        if (!isForeign && name == names[2] && signature == "us")
            expected += QStringLiteral("token %1 %2")
                            .arg(values.numbers[0])
                            .arg(QString::fromUtf8(values.texts[0]));
        require(std::exchange(_seen, {}) == expected, "another signal than was sent");
    }

    void setOwner(const QByteArray &owner) {
        Values values;
        values.body.signature = "sss";
        values.body.addText(service);
        values.body.addText(_owner);
        values.body.addText(owner);
        _bus.sendSignal(bus, busPath, bus, "NameOwnerChanged", values.body);
        waitForSignals();
        const QByteArray known = _server->owner().toUtf8();
        require(known.isEmpty() || known == owner, "another owner");
        require(!known.isEmpty() || !isPlainName(owner), "no owner");
        _owner = known;
    }

    void loseBus() {
        int calls = 0;
        _bus.hangUp();
        _server->close(1, [&calls] { ++calls; });
        wait(calls);
        waitUntil([this] { return !_server->isKnown(); }, "the loss of the bus is not noticed");
        connectToBus();
    }

    /// Whether `owner` is a name of the kind that real buses give.
    static bool isPlainName(const QByteArray &owner) {
        bool isNumber = false;
        owner.mid(3).toUShort(&isNumber);
        return owner.startsWith(":1.") && isNumber && owner.size() > 3 && owner[3] != '+';
    }

    /// Whether calls reach the server, so that the scripted answers come back. ":1.1" is the
    /// client.
    [[nodiscard]] bool isOwnerPossible() const { return !_owner.isEmpty() && _owner != ":1.1"; }

    /// Waits until all signals that were sent have arrived: the answer to a call comes later.
    void waitForSignals() {
        Scripted yes;
        yes.values.body.signature = "b";
        yes.values.body.addNumber(1);
        script({yes});
        int calls = 0;
        _server->askIsOnBus(QStringLiteral(":1.7"), [&calls](bool) { ++calls; });
        wait(calls);
    }

    void wait(const int &calls) {
        waitUntil([&calls] { return calls > 0; }, "a question is not answered");
        require(calls == 1, "a question is answered twice");
    }

    static void waitUntil(const std::function<bool()> &holds, const char *what) {
        const QDeadlineTimer deadline(std::chrono::seconds(60));
        while (!holds()) {
            require(!deadline.hasExpired(), what);
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void script(std::deque<Scripted> answers) {
        const std::lock_guard lock(_mutex);
        _answers = std::move(answers);
    }

    RawBus::Answer nextAnswer() {
        const std::lock_guard lock(_mutex);
        if (_answers.empty())
            return {};
        const Scripted next = std::move(_answers.front());
        _answers.pop_front();
        return {next.errorName, next.values.body};
    }

    std::mutex _mutex;
    std::deque<Scripted> _answers;
    RawBus _bus;
    std::unique_ptr<NotificationServer> _server;
    QByteArray _owner;
    QStringList _seen;
    /// So that waiting ends at the deadline.
    QTimer _wake;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
    qputenv("QT_LOGGING_RULES", "*.warning=false");
    static const QCoreApplication application(*argc, *argv);
    return 0;
}

/// Reads up to 12 steps: a byte that says what happens, then its values.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static auto *const bench = new Bench;
    bench->run(Input(QByteArrayView(data, static_cast<qsizetype>(size))));
    return 0;
}
