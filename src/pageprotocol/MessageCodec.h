#pragma once

#include "PageProtocol.h"

#include <QByteArray>
#include <QList>
#include <QStringDecoder>

#include <algorithm>
#include <cstring>
#include <utility>

namespace pelorinnews::pageprotocol {

template <class Message>
concept HasText = requires(Message message) {
    message.text;
};

template <class Message>
constexpr bool carriesDescriptor = requires {
    Message::hasDescriptor;
};

/// The number of a message type on the wire: its position among the alternatives of `Variant`,
/// counted from 1; 0 if it is none of them.
template <class Message, class Variant>
inline constexpr qint32 typeNumber = 0;
template <class Message, class... Others>
inline constexpr qint32 typeNumber<Message, std::variant<Others...>> = [] {
    qint32 number = 0;
    qint32 found = 0;
    ((++number, found = std::is_same_v<Message, Others> ? number : found), ...);
    return found;
}();

/// The datagrams of a message: one, or several if its text does not fit into one. The last datagram
/// carries the message's type and numbers. A text of more than `maxTextBytes` is truncated.
template <class Variant, class Message>
[[nodiscard]] QList<RawMessage> encoded(Message message) {
    constexpr qint32 type = typeNumber<Message, Variant>;
    static_assert(type > 0, "a message of the other side");
    QByteArray text;
    if constexpr (HasText<Message>) {
        text = message.text.toUtf8();
        if (text.size() > maxTextBytes) {
            qsizetype end = maxTextBytes;
            // Do not cut inside a UTF-8 sequence.
            while ((text.at(end) & 0xc0) == 0x80)
                --end;
            text.truncate(end);
        }
    }
    QList<RawMessage> datagrams;
    qsizetype done = 0;
    const auto addPart = [&](qint32 partType) {
        RawMessage &part = datagrams.emplaceBack(RawMessage{});
        const qsizetype size = std::min<qsizetype>(text.size() - done, sizeof part.text);
        part.type = partType;
        part.textBytes = static_cast<qint32>(size);
        std::memcpy(part.text, text.constData() + done, static_cast<size_t>(size));
        done += size;
    };
    while (text.size() - done > static_cast<qsizetype>(sizeof RawMessage::text))
        addPart(0);
    addPart(type);
    std::apply(
        [&](const auto &...numbers) {
            qint32 *place = datagrams.last().numbers;
            static_assert(sizeof...(numbers) <= std::size(RawMessage{}.numbers));
            ((*place++ = numbers), ...);
        },
        message.numbers());
    return datagrams;
}

/// Reassembles the messages of one direction from their datagrams. Not thread-safe.
template <class Variant>
class MessageReader {
public:
    /// The message that `datagram` completes; nothing if there is more to come or after a violation
    /// of the protocol. `hasDescriptor`: whether a file descriptor came with it.
    [[nodiscard]] std::optional<Variant> read(const RawMessage &datagram, bool hasDescriptor) {
        if (_isViolated || !takeText(datagram) || (datagram.type == 0 && hasDescriptor)) {
            _isViolated = true;
            return std::nullopt;
        }
        if (datagram.type == 0)
            return std::nullopt;
        auto message = decoded(datagram, hasDescriptor,
                               std::make_index_sequence<std::variant_size_v<Variant>>());
        _isViolated = !message;
        _text.clear();
        return message;
    }

    /// Whether the other side has sent something that the protocol does not allow.
    [[nodiscard]] bool isViolated() const { return _isViolated; }

private:
    bool takeText(const RawMessage &datagram) {
        const qint32 size = datagram.textBytes;
        if (!isBetween(0, size, sizeof datagram.text) || _text.size() + size > maxTextBytes)
            return false;
        _text.append(datagram.text, size);
        return true;
    }

    template <size_t... places>
    std::optional<Variant> decoded(const RawMessage &datagram, bool hasDescriptor,
                                   std::index_sequence<places...>) {
        std::optional<Variant> found;
        ((datagram.type == static_cast<qint32>(places) + 1 &&
          (found =
               decodedAs<std::variant_alternative_t<places, Variant>>(datagram, hasDescriptor))),
         ...);
        return found;
    }

    template <class Message>
    std::optional<Variant> decodedAs(const RawMessage &datagram, bool hasDescriptor) {
        Message message;
        if (carriesDescriptor<Message> != hasDescriptor)
            return std::nullopt;
        if constexpr (HasText<Message>) {
            // Without this flag, the decoder drops a leading byte-order mark.
            QStringDecoder decoder(
                QStringDecoder::Utf8,
                QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
            message.text = decoder(_text);
            if (decoder.hasError())
                return std::nullopt;
        } else if (!_text.isEmpty()) {
            return std::nullopt;
        }
        std::apply(
            [&](auto &...numbers) {
                const qint32 *place = datagram.numbers;
                ((numbers = *place++), ...);
            },
            message.numbers());
        if (!message.isValid())
            return std::nullopt;
        return message;
    }

    QByteArray _text;
    bool _isViolated = false;
};

}  // namespace pelorinnews::pageprotocol
