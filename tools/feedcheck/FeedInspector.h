#pragma once

#include "platform/XmlReader.h"

#include <pelorinnews/PrintableText.h>

#include <QString>
#include <QStringView>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace pelorinnews {

/// Something an editor should mend, and the line it stands in.
struct Finding {
    qint64 line = 1;
    QString text;
    /// The document ends here for the panel.
    bool breaksOff = false;
};

/// Where one item and its elements stand; lines count from one.
struct InspectedItem {
    qint64 line = 1;
    /// The lines of the elements that the panel reads, by name: of the last one where there are
    /// several.
    std::map<std::string, qint64> elements;
    QString dateText;
};

/// Walks a feed as the parser does and notes what gets lost on the way: everything that shows in
/// the document alone. What the fields that the parser made of it are worth is for others to judge.
class FeedInspector final : public XmlReaderDelegate {
public:
    explicit FeedInspector(QStringView text);
    FeedInspector(const FeedInspector &) = delete;
    FeedInspector &operator=(const FeedInspector &) = delete;
    ~FeedInspector() override = default;

    /// In the order met.
    [[nodiscard]] const std::vector<Finding> &findings() const { return found; }

    /// The items that were closed, as many and in the same order as the parser's.
    [[nodiscard]] const std::vector<InspectedItem> &items() const { return closed; }

    /// The line of the language that counts, 0 where there is none.
    [[nodiscard]] qint64 languageLine() const { return lastLanguage; }

    void parserDidStartElement(std::string_view name) override;
    void parserFoundCharacters(std::string_view text) override;
    void parserFoundCDATA(QByteArrayView bytes) override;
    void parserDidEndElement(std::string_view name) override;
    void parserParseErrorOccurred(const Error &error) override;
    void parserValidationErrorOccurred(const Error &error) override;

private:
    /// An element whose text is being gathered.
    struct Element {
        std::string name;
        int depth = 0;
        bool markupFound = false;
    };

    void note(const QString &text) { note(reader.lineNumber(), text); }
    void note(qint64 line, const QString &text) { found.push_back({line, text}); }
    void checkDeclaration(QStringView text);
    void noteMarkup(std::string_view name);
    void noteRepetition(std::string_view name);
    void noteMisspelling(std::string_view name);

    XmlReader reader;
    std::vector<Finding> found;
    std::vector<InspectedItem> closed;
    std::optional<InspectedItem> item;
    std::optional<Element> element;
    std::string gathered;
    qint64 lastLanguage = 0;
    int depth = 0;
};

/// `text` fit for one line of a terminal.
[[nodiscard]] inline QString forOneLine(const QString &text, qsizetype longest = 60) {
    return printableText(text, longest);
}

}  // namespace pelorinnews
