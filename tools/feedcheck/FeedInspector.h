#pragma once

#include "Finding.h"
#include "TextLines.h"
#include "platform/XmlReader.h"

#include "pelorinnews/PrintableText.h"

#include <QString>
#include <QStringView>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace pelorinnews {

/// Where an element begins, and where its text comes from. Lines are counted from one.
struct InspectedElement {
    qint64 line = 1;
    TextLines textLines;
};

/// What the document says about one item, beyond the fields that the panel reads.
struct InspectedItem {
    qint64 line = 1;
    /// The elements that the panel reads, by name; of repeated ones, the last.
    std::map<std::string, InspectedElement> elements;
    QString dateText;
    /// The item's `link`, which the panel ignores; empty if there is none.
    QString link;
    qint64 linkLine = 0;

    /// The line of the element `name`; that of the item, if the element is missing.
    [[nodiscard]] qint64 lineOf(const std::string &name) const {
        const auto found = elements.find(name);
        return found == elements.end() ? line : found->second.line;
    }
};

/// Reads a feed as the panel's parser does and records the content that the panel loses, as far as
/// the document itself shows it. It does not judge the values of the parsed fields; `FeedJudge`
/// does.
class FeedInspector final : public XmlReaderDelegate {
public:
    explicit FeedInspector(QStringView text);
    FeedInspector(const FeedInspector &) = delete;
    FeedInspector &operator=(const FeedInspector &) = delete;
    ~FeedInspector() override = default;

    /// In the order found. The error at which reading stops is not among them.
    [[nodiscard]] const std::vector<Finding> &findings() const { return _found; }

    /// The error at which reading stops, if any.
    [[nodiscard]] const std::optional<Error> &error() const { return _reader.error(); }

    /// The items that have an end tag, in the same number and order as the parser's items.
    [[nodiscard]] const std::vector<InspectedItem> &items() const { return _closed; }

    /// The line of the last language element, the one that counts; 0 if there is none.
    [[nodiscard]] qint64 languageLine() const { return _lastLanguage; }

    /// The name of the outermost element; empty if there is none.
    [[nodiscard]] const std::string &root() const { return _root; }
    [[nodiscard]] qint64 rootLine() const { return _rootLine; }

    void parserDidStartElement(std::string_view name) override;
    void parserFoundCharacters(std::string_view text) override;
    void parserFoundCDATA(QByteArrayView bytes) override;
    void parserDidEndElement(std::string_view name) override;
    void parserParseErrorOccurred(const Error &error) override;
    void parserValidationErrorOccurred(const Error &error) override;

private:
    /// An element whose text is being collected.
    struct Element {
        std::string name;
        int depth = 0;
        bool markupFound = false;
    };

    void note(FindingKind kind, const QString &text) { note(kind, _reader.lineNumber(), text); }
    void note(FindingKind kind, qint64 line, const QString &text);
    void checkDeclaration(QStringView text);
    void startItem();
    void noteMarkup(std::string_view name);
    void noteRepetition(std::string_view name);
    void noteMisspelling(std::string_view name);
    void noteUnread(std::string_view name);
    void noteStrayText(std::string_view text);

    XmlReader _reader;
    std::vector<Finding> _found;
    std::vector<InspectedItem> _closed;
    std::optional<InspectedItem> _item;
    int _itemDepth = 0;
    /// Text of the item outside its elements was found.
    bool _strayTextFound = false;
    /// The depth of the open channel; 0 if none is open.
    int _channelDepth = 0;
    /// Text of the channel outside its elements was found.
    bool _looseTextFound = false;
    std::optional<Element> _element;
    std::string _gathered;
    TextLines _gatheredLines;
    /// The depth of the item's link whose text is being collected; 0 if none is.
    int _linkDepth = 0;
    std::string _link;
    std::string _root;
    qint64 _rootLine = 0;
    qint64 _lastLanguage = 0;
    int _depth = 0;
    /// The elements that the panel never reads and that a finding has named.
    std::set<std::string> _unread;
};

/// `text` made safe for one line of a terminal, at most `maxLength` UTF-16 units.
[[nodiscard]] inline QString forOneLine(const QString &text, qsizetype maxLength = 60) {
    return printableText(text, maxLength);
}

}  // namespace pelorinnews
