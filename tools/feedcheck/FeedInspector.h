#pragma once

#include "platform/XmlReader.h"

#include "pelorinnews/PrintableText.h"

#include <QString>
#include <QStringView>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace pelorinnews {

/// A problem that an editor should fix, and its line.
struct Finding {
    qint64 line = 1;
    QString text;
    /// The panel stops reading the document here.
    bool breaksOff = false;
};

/// Line numbers of one item and its elements, counted from one.
struct InspectedItem {
    qint64 line = 1;
    /// The lines of the elements that the panel reads, by name; of repeated ones, the last.
    std::map<std::string, qint64> elements;
    QString dateText;
};

/// Reads a feed as the panel's parser does and records the content that the panel loses, as far as
/// the document itself shows it. It does not judge the values of the parsed fields; `feedReport`
/// does.
class FeedInspector final : public XmlReaderDelegate {
public:
    explicit FeedInspector(QStringView text);
    FeedInspector(const FeedInspector &) = delete;
    FeedInspector &operator=(const FeedInspector &) = delete;
    ~FeedInspector() override = default;

    /// In the order found.
    [[nodiscard]] const std::vector<Finding> &findings() const { return _found; }

    /// The items that have an end tag, in the same number and order as the parser's items.
    [[nodiscard]] const std::vector<InspectedItem> &items() const { return _closed; }

    /// The line of the last language element, the one that counts; 0 if there is none.
    [[nodiscard]] qint64 languageLine() const { return _lastLanguage; }

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

    void note(const QString &text) { note(_reader.lineNumber(), text); }
    void note(qint64 line, const QString &text) { _found.push_back({line, text}); }
    void checkDeclaration(QStringView text);
    void noteMarkup(std::string_view name);
    void noteRepetition(std::string_view name);
    void noteMisspelling(std::string_view name);

    XmlReader _reader;
    std::vector<Finding> _found;
    std::vector<InspectedItem> _closed;
    std::optional<InspectedItem> _item;
    std::optional<Element> _element;
    std::string _gathered;
    qint64 _lastLanguage = 0;
    int _depth = 0;
};

/// `text` made safe for one line of a terminal, at most `maxLength` UTF-16 units.
[[nodiscard]] inline QString forOneLine(const QString &text, qsizetype maxLength = 60) {
    return printableText(text, maxLength);
}

}  // namespace pelorinnews
