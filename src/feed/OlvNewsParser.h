#pragma once

#include "OlvNewsCacheItem.h"
#include "platform/XmlReader.h"

#include "pelorinnews/Error.h"

#include <QHash>
#include <QVariantMap>

#include <array>
#include <memory>
#include <optional>
#include <string>

namespace pelorinnews {

class DateFormatter;

/// The keys of a parser's result: the feed's language, a `QString`, and its items, a
/// `std::shared_ptr<OlvNewsItemList>` in the order of the feed.
inline const QString OlvNewsFeedChannelLanguageKeyName =
    QStringLiteral("OlvNewsFeedChannelLanguageKeyName");
inline const QString OlvNewsFeedNewsCacheItemsKeyName =
    QStringLiteral("OlvNewsFeedNewsCacheItemsKeyName");

/// Turns the text of a feed into the feed's language and its items.
///
/// Elements are recognised by their exact name, at any depth. If an element occurs several times,
/// the last one counts. Use a parser for one parse only: the next parse would empty the list of
/// items that the previous one returned. One thread at a time. A CDATA section that is not UTF-8 is
/// skipped, with a warning in Qt's log.
class OlvNewsParser final : public XmlReaderDelegate {
public:
    /// How many items a feed may have. The start tag of one more item is a fatal parse error.
    static constexpr std::size_t maxItems = 100'000;
    /// The Unicode pattern of dates.
    static constexpr auto datePattern = "EEE, dd LLL yyyy HH:mm:ss zzz";
    /// The text of the error for more than `maxItems` items.
    [[nodiscard]] static QString tooManyItems();

    /// Dates are read in the user's locale, or in `dateLocale` if it is not empty.
    explicit OlvNewsParser(QString dateLocale = {});
    ~OlvNewsParser() override;
    OlvNewsParser(const OlvNewsParser &) = delete;
    OlvNewsParser &operator=(const OlvNewsParser &) = delete;

    /// The language and the items under the keys above; absent if the text is absent or has no
    /// language. A malformed document gives the items that were complete before the error. `error`,
    /// if given, receives a parse error, whether or not there is a result; without a parse error it
    /// is not changed.
    std::optional<QVariantMap> parse(const QString &text, Error *error = nullptr);

    /// The same for a text in UTF-8, which is never decoded as a whole in memory. A null view
    /// counts as an absent text. Invalid UTF-8 is a parse error at its position.
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
    /// The text of the current element, in UTF-8; decoded once, when the element ends.
    std::string _currentString;
    std::optional<Error> _error;
    /// Null except while a document is read.
    XmlReader *_reader = nullptr;
    std::shared_ptr<OlvNewsCacheItem> _currentItem;
    const std::shared_ptr<OlvNewsItemList> _feedItems;
    QString _feedLocale;

    const QString _dateLocale;
    std::unique_ptr<DateFormatter> _dateFormatter;
    QHash<QByteArray, QString> _categories;

    /// Items are allocated in contiguous blocks, so that a walk over a long list stays in the CPU
    /// caches. A block is freed with the last reference to one of its items.
    using ItemBlock = std::array<OlvNewsCacheItem, 16>;
    std::shared_ptr<ItemBlock> _block;
    size_t _usedOfBlock = 0;
};

}  // namespace pelorinnews
