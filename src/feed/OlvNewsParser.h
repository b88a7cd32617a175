#pragma once

#include "OlvNewsCacheItem.h"
#include "platform/XmlReader.h"

#include <pelorinnews/Error.h>

#include <QHash>
#include <QVariantMap>

#include <array>
#include <memory>
#include <optional>
#include <string>

namespace pelorinnews {

class DateFormatter;

/// The entries of a parser's result: the feed's language, a `QString`, and its items, a
/// `std::shared_ptr<OlvNewsItemList>` in the order of the feed.
inline const QString OlvNewsFeedChannelLanguageKeyName =
    QStringLiteral("OlvNewsFeedChannelLanguageKeyName");
inline const QString OlvNewsFeedNewsCacheItemsKeyName =
    QStringLiteral("OlvNewsFeedNewsCacheItemsKeyName");

/// Turns the text of a feed into the feed's language and its items.
///
/// Elements count by their exact name, wherever they stand; the last one of a kind wins. A parser
/// is used for one parse and then dropped: its list of items is emptied by the next one. It belongs
/// to one thread at a time. A character section that is not UTF-8 is reported through Qt's log.
class OlvNewsParser final : public XmlReaderDelegate {
public:
    /// How many items a feed may have. The beginning of one more is a fatal error of the document.
    static constexpr std::size_t mostItems = 100'000;
    /// The reason that this error gives.
    [[nodiscard]] static QString tooManyItems();

    /// Dates are read in the user's locale, or in `dateLocale` where one is given.
    explicit OlvNewsParser(QString dateLocale = {});
    ~OlvNewsParser() override;
    OlvNewsParser(const OlvNewsParser &) = delete;
    OlvNewsParser &operator=(const OlvNewsParser &) = delete;

    /// The language and the items under the keys above; absent when the text is absent
    /// or names no language. A document that breaks half-way gives what was complete before. Where
    /// it breaks and `error` is given, the error is stored there, result or not; else `error` is
    /// left alone.
    std::optional<QVariantMap> parse(const QString &text, Error *error = nullptr);

    /// The same from the text's UTF-8 bytes, without ever having the text in memory; null bytes
    /// are an absent text. Bytes that are not UTF-8 break the document where they stand.
    std::optional<QVariantMap> parse(QByteArrayView utf8, Error *error = nullptr);

    void parserDidStartElement(std::string_view name) override;
    void parserFoundCharacters(std::string_view text) override;
    void parserFoundCDATA(QByteArrayView bytes) override;
    void parserDidEndElement(std::string_view name) override;
    void parserParseErrorOccurred(const Error &error) override;
    void parserValidationErrorOccurred(const Error &error) override;

private:
    template <class Text>
    std::optional<QVariantMap> parseWhole(Text text, Error *error);
    void startStoring();
    [[nodiscard]] std::shared_ptr<OlvNewsCacheItem> newItem();
    [[nodiscard]] std::unique_ptr<DateFormatter> makeDateFormatter() const;
    [[nodiscard]] QString sharedCategory();

    bool _storingCharacters = false;
    /// UTF-8: decoded once, when its element ends.
    std::string _currentString;
    std::optional<Error> _error;
    /// Set while a document is read.
    XmlReader *_reader = nullptr;
    std::shared_ptr<OlvNewsCacheItem> _currentItem;
    const std::shared_ptr<OlvNewsItemList> _feedItems;
    QString _feedLocale;

    const QString _dateLocale;
    std::unique_ptr<DateFormatter> _dateFormatter;
    QHash<QByteArray, QString> _categories;

    /// Items that are made together lie next to each other, so that a walk over a long list stays
    /// in the processor's caches. A block goes when the last of its items is let go.
    using ItemBlock = std::array<OlvNewsCacheItem, 16>;
    std::shared_ptr<ItemBlock> _block;
    size_t _usedOfBlock = 0;
};

}  // namespace pelorinnews
