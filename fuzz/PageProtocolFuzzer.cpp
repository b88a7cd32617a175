// The promise tested: whatever the other process sends, a reader returns only valid messages that
// say what was sent, and nothing after a violation of the protocol.

#include "Input.h"
#include "pageprotocol/MessageCodec.h"
#include "pageprotocol/StartArguments.h"

#include <algorithm>
#include <cstring>

using namespace pelorinnews;
using namespace pageprotocol;

namespace {

/// How many full datagrams the longest text fills; the rest of it fits into one more.
constexpr int maxFullParts = maxTextBytes / static_cast<int>(sizeof RawMessage::text);

void require(bool holds) {
    if (!holds)
        qFatal("the page protocol violates one of its guarantees");
}

/// Reads a datagram: type (1 byte), count of numbers (1), the numbers (4 each), `textBytes` (2),
/// text.
RawMessage shortDatagram(Input &input) {
    RawMessage datagram{};
    datagram.type = input.value<quint8>();
    const size_t count = input.value<quint8>() % (std::size(datagram.numbers) + 1);
    for (size_t i = 0; i < count; ++i)
        datagram.numbers[i] = input.value<qint32>();
    datagram.textBytes = input.value<qint16>();
    const QByteArrayView text =
        input.bytes(std::min<qsizetype>(datagram.textBytes, sizeof datagram.text));
    std::copy(text.begin(), text.end(), datagram.text);
    return datagram;
}

/// Reads a datagram that is filled with a repeated pattern: the pattern's length (1 byte, at most
/// 16), then the pattern.
RawMessage fullPart(Input &input) {
    RawMessage datagram{};
    datagram.textBytes = sizeof datagram.text;
    const QByteArray pattern = input.bytes(input.value<quint8>() % 17).toByteArray();
    if (!pattern.isEmpty()) {
        const QByteArray text =
            pattern.repeated(static_cast<qsizetype>(sizeof datagram.text) / pattern.size() + 1);
        std::memcpy(datagram.text, text.constData(), sizeof datagram.text);
    }
    return datagram;
}

template <class Message>
QString textOf(const Message &message) {
    if constexpr (HasText<Message>)
        return message.text;
    else
        return {};
}

/// `last` is the datagram that completed the message; `text` is the text from all its datagrams.
template <class Variant, class Message>
void checkMessage(Message message, const RawMessage &last, const QByteArray &text,
                  bool hasDescriptor) {
    require(message.isValid());
    require(carriesDescriptor<Message> == hasDescriptor);
    require(text.size() <= maxTextBytes);
    require(textOf(message).toUtf8() == text);

    const QList<RawMessage> again = encoded<Variant>(message);
    constexpr size_t numbers = std::tuple_size_v<decltype(message.numbers())>;
    require(again.last().type == last.type);
    require(std::equal(last.numbers, last.numbers + numbers, again.last().numbers));
    MessageReader<Variant> reader;
    std::optional<Variant> copy;
    for (qsizetype i = 0; i < again.size(); ++i) {
        require(!copy && !reader.isViolated());
        copy = reader.read(again.at(i), hasDescriptor && i + 1 == again.size());
    }
    auto *read = copy ? std::get_if<Message>(&*copy) : nullptr;
    require(read && !reader.isViolated());
    require(read->numbers() == message.numbers());
    require(textOf(*read) == textOf(message));
}

/// A `MessageReader` whose guarantees are checked after each datagram.
template <class Variant>
class CheckedReader {
public:
    void read(const RawMessage &datagram, bool hasDescriptor) {
        const bool wasViolated = _reader.isViolated();
        const std::optional<Variant> message = _reader.read(datagram, hasDescriptor);
        if (wasViolated) {
            require(!message && _reader.isViolated());
            return;
        }
        if (_reader.isViolated()) {
            require(!message);
            return;
        }
        require(isBetween(0, datagram.textBytes, sizeof datagram.text));
        _text.append(datagram.text, datagram.textBytes);
        require(_text.size() <= maxTextBytes);
        require(message.has_value() == (datagram.type != 0));
        if (!message)
            return;
        std::visit(
            [&](const auto &each) { checkMessage<Variant>(each, datagram, _text, hasDescriptor); },
            *message);
        _text.clear();
    }

private:
    MessageReader<Variant> _reader;
    QByteArray _text;
};

/// Each datagram begins with a byte. Its lowest bit says whether a file descriptor comes with the
/// datagram. The next two bits select what follows: a short datagram (0 or 1), a datagram's whole
/// 4096 bytes (2), or a count (2 bytes) and a full part of a text, which is read that many times
/// (3).
template <class Variant>
void readStream(Input input) {
    CheckedReader<Variant> reader;
    bool hadLongest = false;
    while (!input.isAtEnd()) {
        const auto head = input.value<quint8>();
        const bool hasDescriptor = (head & 1) != 0;
        switch (head >> 1 & 3) {
            case 0:
            case 1:
                reader.read(shortDatagram(input), hasDescriptor);
                break;
            case 2:
                reader.read(input.value<RawMessage>(), hasDescriptor);
                break;
            case 3: {
                const int count = input.value<quint16>();
                // Long texts make the fuzzer slow: read at most three parts, or, once in a stream,
                // all parts of a longest text.
                const bool isLongest = count == maxFullParts && !hadLongest;
                hadLongest = hadLongest || isLongest;
                const RawMessage part = fullPart(input);
                for (int i = 0; i < (isLongest ? count : count % 4); ++i)
                    reader.read(part, hasDescriptor);
                break;
            }
        }
    }
    // End with a valid message: `CheckedReader` checks that it is not returned after a violation.
    reader.read(encoded<Variant>(std::variant_alternative_t<0, Variant>{}).first(), false);
}

void parseArguments(QByteArrayView text) {
    const auto parsed = StartArguments::parse(text.toByteArray().split('\n'));
    if (!parsed)
        return;
    require(parsed->host > 0 && parsed->scale >= minScale && parsed->scale <= maxScale);
    require(isSize(parsed->screen.width(), parsed->screen.height()));
    const auto again = StartArguments::parse(parsed->toArguments());
    require(again && *again == *parsed);
}

}  // namespace

/// The first byte selects what the rest is: datagrams from the child, arguments of the page process
/// (one per line), or datagrams from the host. The seeds have "c", "a" and "h".
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0)
        return 0;
    const QByteArrayView rest(data + 1, static_cast<qsizetype>(size - 1));
    static_assert('c' % 3 == 0 && 'a' % 3 == 1 && 'h' % 3 == 2);
    switch (data[0] % 3) {
        case 0:
            readStream<ChildMessage>(Input(rest));
            break;
        case 1:
            parseArguments(rest);
            break;
        case 2:
            readStream<HostMessage>(Input(rest));
            break;
    }
    return 0;
}
