#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <mutex>
#include <thread>

/// The body of a D-Bus message: its signature, and its values as bytes of the wire format.
class MessageBody {
public:
    void align(qsizetype to);
    void addByte(quint8 value);
    void addNumber(quint32 value);
    void addLong(quint64 value);
    void addText(const QByteArray &text);
    void addSignature(const QByteArray &text);
    /// Adds an array of what `addElements` adds, whose elements begin at multiples of `alignment`.
    void addArray(qsizetype alignment, const std::function<void()> &addElements);

    QByteArray signature;
    QByteArray bytes;
};

/// A message bus for one client at a time that lies as it is told. Messages are made by hand,
/// because no library lets a program choose the sender of a signal. Has a thread of its own.
class RawBus {
public:
    struct Answer {
        /// Empty: no error.
        QByteArray errorName;
        MessageBody body;
    };
    /// Answers a call of a method other than those of the bus that every client needs; called on
    /// the bus's thread.
    using Answers = std::function<Answer(const QByteArray &method)>;

    explicit RawBus(Answers answers);
    ~RawBus();
    RawBus(const RawBus &) = delete;
    RawBus &operator=(const RawBus &) = delete;

    [[nodiscard]] QString address() const;

    void sendSignal(const QByteArray &sender, const QByteArray &path, const QByteArray &interface,
                    const QByteArray &name, const MessageBody &body);

    /// Ends the connection of the client.
    void hangUp();

private:
    void serve();
    void serveClient(int client);
    void reply(int client, const QByteArray &call);

    const Answers _answers;
    QTemporaryDir _folder;
    int _listening = -1;
    std::mutex _mutex;
    int _client = -1;
    quint32 _serial = 0;
    std::thread _thread;
};
