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
        note(_item->line, QStringLiteral("this <item> is never closed: it is lost"));
}

void FeedInspector::checkDeclaration(QStringView text) {
    static const QRegularExpression declaration(
        QStringLiteral("^\\x{FEFF}?<\\?xml[^>]*\\bencoding\\s*=\\s*[\"']([^\"'>]*)[\"']"));
    constexpr qsizetype maxDeclarationLength = 256;
    const QString encoding =
        declaration.match(text.first(std::min(text.size(), maxDeclarationLength)).toString())
            .captured(1);
    if (!encoding.isEmpty() && encoding.compare(u"utf-8", Qt::CaseInsensitive) != 0)
        note(1, QStringLiteral("declares the encoding \"%1\", but is always read as UTF-8")
                    .arg(forOneLine(encoding)));
}

void FeedInspector::parserDidStartElement(std::string_view name) {
    ++_depth;
    if (name == "item") {
        if (_item)
            note(_item->line, QStringLiteral("this <item> is still open when the next begins in "
                                             "line %1: it is lost")
                                  .arg(_reader.lineNumber()));
        _item = InspectedItem{_reader.lineNumber(), {}, {}};
        if (_closed.size() == OlvNewsParser::maxItems) {
            _item.reset();
            _reader.refuse(OlvNewsParser::tooManyItems());
        }
        return;
    }
    const bool wanted = name == "language" || (_item && contains(inItem, name));
    if (_element)
        noteMarkup(name);
    if (!wanted) {
        noteMisspelling(name);
        return;
    }
    noteRepetition(name);
    _element = Element{std::string(name), _depth, false};
    _gathered.clear();
}

void FeedInspector::parserFoundCharacters(std::string_view text) {
    if (_element)
        _gathered += text;
}

void FeedInspector::parserFoundCDATA(QByteArrayView bytes) {
    if (!_element)
        return;
    const QString lost = fromUtf8(_gathered);
    if (!lost.trimmed().isEmpty())
        note(QStringLiteral("text before a CDATA section of %1 is lost: \"%2\"")
                 .arg(tag(_element->name), forOneLine(lost)));
    _gathered.assign(bytes.data(), static_cast<std::size_t>(bytes.size()));
}

void FeedInspector::parserDidEndElement(std::string_view name) {
    const bool ofElement = _element && _element->depth == _depth;
    --_depth;
    if (name == "item" && _item) {
        _closed.push_back(std::move(*_item));
        _item.reset();
    }
    if (!ofElement)
        return;
    if (_item && name == "pubDate")
        _item->dateText = fromUtf8(_gathered);
    _element.reset();
}

void FeedInspector::parserParseErrorOccurred(const Error &error) {
    const QString reason = error.userInfo.value(Error::localizedDescriptionKey()).toString();
    note(std::max<qint64>(1, error.userInfo.value(XmlError::lineNumberKey()).toLongLong()),
         QStringLiteral("the document breaks off here, and what follows is lost: %1").arg(reason));
    _found.back().breaksOff = true;
}

void FeedInspector::parserValidationErrorOccurred(const Error &error) {
    parserParseErrorOccurred(error);
}

void FeedInspector::noteMarkup(std::string_view name) {
    if (_element->markupFound)
        return;
    _element->markupFound = true;
    note(QStringLiteral("%1 inside %2 is taken for an element of the feed and gets lost: put the "
                        "text into a CDATA section")
             .arg(tag(name), tag(_element->name)));
}

void FeedInspector::noteRepetition(std::string_view name) {
    const qint64 line = _reader.lineNumber();
    const QString text = QStringLiteral("another %1 replaces the one in line %2").arg(tag(name));
    if (name == "language") {
        if (_lastLanguage > 0)
            note(line, text.arg(_lastLanguage));
        if (_item)
            note(line,
                 QStringLiteral("a <language> inside an item changes that of the whole feed"));
        _lastLanguage = line;
        return;
    }
    const auto [earlier, isFirst] = _item->elements.try_emplace(std::string(name), line);
    if (isFirst)
        return;
    note(line, text.arg(earlier->second));
    earlier->second = line;
}

void FeedInspector::noteMisspelling(std::string_view name) {
    const std::string_view known = meant(anywhere, name);
    const std::string_view inThisItem = _item ? meant(inItem, name) : std::string_view();
    const std::string_view right = known.empty() ? inThisItem : known;
    if (!right.empty())
        note(QStringLiteral("%1 is ignored: the panel knows only %2").arg(tag(name), tag(right)));
}

}  // namespace pelorinnews
