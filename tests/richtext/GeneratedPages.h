#pragma once

#include <QString>
#include <QStringList>

#include <random>

namespace pelorinnews::test {

/// A page, and what a word processor must read from its copy: a line for each paragraph, as
/// `OpenDocumentOutline` writes it, with its item or cell in front.
struct GeneratedPage {
    QString html;
    QStringList expected;
};

/// Writes a random page and what it means at the same time. A seed gives the same page each time.
class PageGenerator {
public:
    explicit PageGenerator(unsigned seed) : _random(seed) {}

    [[nodiscard]] GeneratedPage page();

    /// `outline` in the form of `GeneratedPage::expected`, without empty paragraphs: how many stand
    /// around tables is left to the writer.
    [[nodiscard]] static QStringList flattened(const QString &outline);

private:
    struct Look;

    /// A number from 0 to `limit` - 1.
    [[nodiscard]] int below(int limit);
    [[nodiscard]] bool chance(int percent) { return below(100) < percent; }
    template <typename List>
    [[nodiscard]] auto oneOf(const List &list);

    void block();
    void paragraph();
    void heading();
    void quote();
    void preformatted();
    void list(int depth);
    void table();
    /// Writes some runs of text. `base` is the look of the paragraph itself.
    void runs(const Look &base, bool heading = false);
    void run(const Look &base, bool heading);
    void link(const Look &base);
    [[nodiscard]] QString words(bool first);
    /// Adds `text` to the page and to the line that is expected, in the look `look`.
    void write(const QString &text, const Look &look);
    /// Adds `text` only to the line that is expected.
    void append(const QString &text, const Look &look);
    void endSpan();
    void beginLine(const QString &line);
    void endLine();

    std::mt19937 _random;
    QString _html;
    QStringList _expected;
    QString _context;
    QString _line;
    QString _openLook;
};

}  // namespace pelorinnews::test
