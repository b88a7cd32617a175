#include "FeedInspector.h"

#include "feed/OlvNewsParser.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace pelorinnews {

namespace {

constexpr std::array<std::string_view, 5> inItem = {"title", "pubDate", "description", "comments",
                                                    "category"};
constexpr std::array<std::string_view, 2> anywhere = {"item", "language"};

/// Elements of other feed formats that hold what readers of this panel would miss.
struct Unread {
    std::string_view name;
    const char *advice;
};
constexpr std::array<Unread, 9> unreadElements = {{
    {"enclosure", "link to the file in the <description>"},
    {"media:content", "show the picture in the <description>"},
    {"media:thumbnail", "show the picture in the <description>"},
    {"dc:language", "write <language>"},
    {"dc:date", "write <pubDate>"},
    {"dc:subject", "write <category>"},
    {"summary", "write <description>"},
    {"itunes:summary", "write <description>"},
    {"fullitem", "write <description>"},
}};

QString fromUtf8(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString tag(std::string_view name) {
    return QLatin1Char('<') + forOneLine(fromUtf8(name)) + QLatin1Char('>');
}

template <class Names>
bool contains(const Names &names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// The name in `names` that differs from `name` only by case; empty if there is none.
template <class Names>
std::string_view meant(const Names &names, std::string_view name) {
    const QString written = fromUtf8(name);
    const auto found = std::find_if(names.begin(), names.end(), [&](std::string_view known) {
        return written.compare(fromUtf8(known), Qt::CaseInsensitive) == 0;
    });
    return found == names.end() || *found == name ? std::string_view() : *found;
}

}  // namespace

FeedInspector::FeedInspector(QStringView text) : _reader(*this) {
    checkDeclaration(text);
    _reader.read(text);
    if (_item)
        note(FindingKind::ItemUnclosed, _item->line,
             QStringLiteral("this <item> is never closed: it is lost"));
}

void FeedInspector::note(FindingKind kind, qint64 line, const QString &text) {
    _found.push_back({kind, line, text});
}

void FeedInspector::checkDeclaration(QStringView text) {
    static const QRegularExpression declaration(
        QStringLiteral("^\\x{FEFF}?<\\?xml[^>]*\\bencoding\\s*=\\s*[\"']([^\"'>]*)[\"']"));
    constexpr qsizetype maxDeclarationLength = 256;
    const QString encoding =
        declaration.match(text.first(std::min(text.size(), maxDeclarationLength)).toString())
            .captured(1);
    if (!encoding.isEmpty() && encoding.compare(u"utf-8", Qt::CaseInsensitive) != 0)
        note(FindingKind::EncodingIgnored, 1,
             QStringLiteral("declares the encoding \"%1\", but is always read as UTF-8")
                 .arg(forOneLine(encoding)));
}

void FeedInspector::parserDidStartElement(std::string_view name) {
    ++_depth;
    if (_root.empty()) {
        _root = name;
        _rootLine = _reader.lineNumber();
    }
    if (name == "item") {
        startItem();
        return;
    }
    if (name == "channel" && _channelDepth == 0)
        _channelDepth = _depth;
    const bool wanted = name == "language" || (_item && contains(inItem, name));
    if (_element)
        noteMarkup(name);
    if (wanted) {
        noteRepetition(name);
        _element = Element{std::string(name), _depth, false};
        _gathered.clear();
        _gatheredLines.clear();
        return;
    }
    noteMisspelling(name);
    if (!_element)
        noteUnread(name);
    if (name == "link" && _item && !_element && _linkDepth == 0) {
        _linkDepth = _depth;
        _link.clear();
        _item->linkLine = _reader.lineNumber();
    }
}

void FeedInspector::startItem() {
    if (_item)
        note(FindingKind::ItemUnclosed, _item->line,
             QStringLiteral("this <item> is still open when the next begins in line %1: it is lost")
                 .arg(_reader.lineNumber()));
    _itemDepth = _depth;
    _strayTextFound = false;
    _item = InspectedItem{_reader.lineNumber(), {}, {}, {}, 0};
    if (_closed.size() == OlvNewsParser::maxItems) {
        _item.reset();
        _reader.refuse(OlvNewsParser::tooManyItems());
    }
}

void FeedInspector::parserFoundCharacters(std::string_view text) {
    if (_linkDepth > 0)
        _link += text;
    if (!_element) {
        noteStrayText(text);
        return;
    }
    _gatheredLines.add(text, _reader.lineNumber());
    _gathered += text;
}

void FeedInspector::parserFoundCDATA(QByteArrayView bytes) {
    const std::string_view text(bytes.data(), static_cast<std::size_t>(bytes.size()));
    if (_linkDepth > 0)
        _link += text;
    if (!_element) {
        noteStrayText(text);
        return;
    }
    // The section is reported at its end.
    const qint64 line = _reader.lineNumber() - std::count(text.begin(), text.end(), '\n');
    const QString lost = fromUtf8(_gathered);
    if (!lost.trimmed().isEmpty())
        note(FindingKind::CdataReplacesText, line,
             QStringLiteral("text before a CDATA section of %1 is lost: \"%2\"")
                 .arg(tag(_element->name), forOneLine(lost)));
    _gathered = text;
    _gatheredLines.clear();
    _gatheredLines.add(text, line);
}

void FeedInspector::parserDidEndElement(std::string_view name) {
    const bool ofElement = _element && _element->depth == _depth;
    if (_linkDepth == _depth) {
        _linkDepth = 0;
        if (_item)
            _item->link = fromUtf8(_link).trimmed();
    }
    if (_channelDepth == _depth)
        _channelDepth = 0;
    --_depth;
    if (name == "item" && _item) {
        _closed.push_back(std::move(*_item));
        _item.reset();
    }
    if (!ofElement)
        return;
    if (_item) {
        const auto place = _item->elements.find(std::string(name));
        if (place != _item->elements.end())
            place->second.textLines = _gatheredLines;
    }
    if (_item && name == "pubDate")
        _item->dateText = fromUtf8(_gathered);
    _element.reset();
}

void FeedInspector::parserParseErrorOccurred(const Error & /*error*/) {}

void FeedInspector::parserValidationErrorOccurred(const Error & /*error*/) {}

void FeedInspector::noteMarkup(std::string_view name) {
    if (_element->markupFound)
        return;
    _element->markupFound = true;
    note(FindingKind::MarkupOutsideCdata,
         QStringLiteral("%1 inside %2 is taken for an element of the feed and gets lost: put the "
                        "text into a CDATA section")
             .arg(tag(name), tag(_element->name)));
}

void FeedInspector::noteRepetition(std::string_view name) {
    const qint64 line = _reader.lineNumber();
    const QString text = QStringLiteral("another %1 replaces the one in line %2").arg(tag(name));
    if (name == "language") {
        if (_lastLanguage > 0)
            note(FindingKind::LanguageRepeated, line, text.arg(_lastLanguage));
        if (_item)
            note(FindingKind::LanguageInItem, line,
                 QStringLiteral("a <language> inside an item changes that of the whole feed"));
        _lastLanguage = line;
        return;
    }
    const bool repeated = _item->elements.count(std::string(name)) > 0;
    InspectedElement &element = _item->elements[std::string(name)];
    if (repeated)
        note(FindingKind::ElementRepeated, line, text.arg(element.line));
    element.line = line;
}

void FeedInspector::noteMisspelling(std::string_view name) {
    const std::string_view known = meant(anywhere, name);
    const std::string_view inThisItem = _item ? meant(inItem, name) : std::string_view();
    const std::string_view right = known.empty() ? inThisItem : known;
    if (!right.empty())
        note(FindingKind::ElementMisspelt,
             QStringLiteral("%1 is ignored: the panel knows only %2").arg(tag(name), tag(right)));
}

void FeedInspector::noteStrayText(std::string_view text) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    bool &found = _item ? _strayTextFound : _looseTextFound;
    if (_depth != (_item ? _itemDepth : _channelDepth) || _depth == 0 || found ||
        std::all_of(text.begin(), text.end(), isBlank))
        return;
    found = true;
    note(FindingKind::TextUnread,
         QStringLiteral("the text \"%1\" is in none of %2, and is lost")
             .arg(forOneLine(fromUtf8(text)), _item ? QStringLiteral("the item's elements")
                                                    : QStringLiteral("the channel's items")));
}

void FeedInspector::noteUnread(std::string_view name) {
    // With any prefix, or with none.
    if (name.substr(name.rfind(':') + 1) == "encoded" && _item) {
        note(FindingKind::ContentEncoded,
             tag(name) + QStringLiteral(" is not read: write the whole page into <description>"));
        return;
    }
    const auto *const known =
        std::find_if(unreadElements.begin(), unreadElements.end(),
                     [name](const Unread &element) { return element.name == name; });
    if (known == unreadElements.end() || (!_item && name != "dc:language"))
        return;
    // Once for the whole feed: a generator writes the same elements into every item.
    if (_unread.emplace(name).second)
        note(FindingKind::ElementUnread,
             QStringLiteral("%1 is not read, here and wherever else it occurs: %2")
                 .arg(tag(name), QLatin1String(known->advice)));
}

}  // namespace pelorinnews
