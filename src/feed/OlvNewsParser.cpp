#include "OlvNewsParser.h"

#include "platform/DateFormatter.h"

#include <QStringDecoder>

namespace pelorinnews {

namespace {

/// Items of the same category share one string, for at most this many categories. A feed usually
/// has a handful.
constexpr qsizetype maxSharedCategories = 256;

/// Decodes `utf8` into a string without spare capacity; empty, never null, for empty bytes.
/// `QString::fromUtf8` would drop a leading byte-order mark.
QString textFromUtf8(std::string_view utf8) {
    const auto size = static_cast<qsizetype>(utf8.size());
    if (size == 0)
        return QStringLiteral("");
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QString text(size, Qt::Uninitialized);
    const QChar *const end = decoder.appendToBuffer(text.data(), QByteArrayView(utf8.data(), size));
    text.truncate(end - text.constData());
    if (text.size() < size)
        text.squeeze();
    return text;
}

bool isWantedInItem(std::string_view name) {
    return name == "pubDate" || name == "title" || name == "comments" || name == "category" ||
           name == "description";
}

}  // namespace

OlvNewsParser::OlvNewsParser(QString dateLocale)
    : _feedItems(std::make_shared<OlvNewsItemList>()), _dateLocale(std::move(dateLocale)) {}

OlvNewsParser::~OlvNewsParser() = default;

QString OlvNewsParser::tooManyItems() {
    return QStringLiteral("more than %1 items").arg(maxItems);
}

std::optional<QVariantMap> OlvNewsParser::parse(const QString &text, Error *error) {
    return parseWhole(QStringView(text), error);
}

std::optional<QVariantMap> OlvNewsParser::parse(QByteArrayView utf8, Error *error) {
    return parseWhole(utf8, error);
}

template <class Text>
std::optional<QVariantMap> OlvNewsParser::parseWhole(Text text, Error *error) {
    _error.reset();
    _feedLocale = QString();
    _feedItems->clear();
    if (text.isNull())
        return std::nullopt;

    XmlReader reader(*this);
    _reader = &reader;
    reader.read(text);
    _reader = nullptr;
    _dateFormatter.reset();

    if (error && _error)
        *error = *_error;
    if (_feedLocale.isNull())
        return std::nullopt;
    return QVariantMap{{OlvNewsFeedChannelLanguageKeyName, _feedLocale},
                       {OlvNewsFeedNewsCacheItemsKeyName, QVariant::fromValue(_feedItems)}};
}

void OlvNewsParser::startStoring() {
    _currentString.clear();
    _storingCharacters = true;
}

void OlvNewsParser::parserDidStartElement(std::string_view name) {
    if (name == "item") {
        if (_reader && _feedItems->size() == maxItems)
            _reader->refuse(tooManyItems());
        else
            _currentItem = newItem();
    } else if (name == "language" || (_currentItem && isWantedInItem(name))) {
        startStoring();
    }
}

void OlvNewsParser::parserFoundCharacters(std::string_view text) {
    _currentString += text;
}

void OlvNewsParser::parserFoundCDATA(QByteArrayView bytes) {
    if (!bytes.isValidUtf8()) {
        qWarning("parser failed extracting string from data :(");
        return;
    }
    _currentString.assign(bytes.data(), static_cast<size_t>(bytes.size()));
}

void OlvNewsParser::parserDidEndElement(std::string_view name) {
    if (!_currentItem && !_storingCharacters)
        return;
    _storingCharacters = false;
    if (name == "language") {
        _feedLocale = textFromUtf8(_currentString);
        return;
    }
    if (!_currentItem)
        return;
    if (name == "item") {
        // An item is kept even if all its fields are absent.
        _feedItems->push_back(std::move(_currentItem));
    } else if (name == "pubDate") {
        if (!_dateFormatter)
            _dateFormatter = makeDateFormatter();
        _currentItem->setDate(_dateFormatter->dateFromString(_currentString));
    } else if (name == "title") {
        _currentItem->setTitle(textFromUtf8(_currentString));
    } else if (name == "comments") {
        _currentItem->setPlainTextContent(textFromUtf8(_currentString));
    } else if (name == "category") {
        _currentItem->setCategory(sharedCategory());
    } else if (name == "description") {
        _currentItem->setHtmlContent(textFromUtf8(_currentString));
    }
}

void OlvNewsParser::parserParseErrorOccurred(const Error &error) {
    _error = error;
}

void OlvNewsParser::parserValidationErrorOccurred(const Error &error) {
    _error = error;
}

std::shared_ptr<OlvNewsCacheItem> OlvNewsParser::newItem() {
    if (!_block || _usedOfBlock == _block->size()) {
        _block = std::make_shared<ItemBlock>();
        _usedOfBlock = 0;
    }
    return {_block, &(*_block)[_usedOfBlock++]};
}

std::unique_ptr<DateFormatter> OlvNewsParser::makeDateFormatter() const {
    const QString locale =
        _dateLocale.isEmpty() ? DateFormatter::userLocaleIdentifier() : _dateLocale;
    return std::make_unique<DateFormatter>(QString::fromLatin1(datePattern), locale);
}

QString OlvNewsParser::sharedCategory() {
    const auto bytes = QByteArray::fromRawData(_currentString.data(),
                                               static_cast<qsizetype>(_currentString.size()));
    if (const auto known = _categories.constFind(bytes); known != _categories.cend())
        return *known;
    QString category = textFromUtf8(_currentString);
    if (_categories.size() < maxSharedCategories)
        _categories.insert(QByteArray(bytes.constData(), bytes.size()), category);
    return category;
}

}  // namespace pelorinnews
