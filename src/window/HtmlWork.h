#pragma once

#include <QSet>
#include <QString>
#include <QStringView>

namespace pelorinnews {

/// Estimates what a page's HTML costs a text document, while it is being read. The rates were
/// measured; they need to be right within a factor of two or three.
class HtmlWork {
public:
    /// A document that is only copied from is never laid out, which is what costs most.
    enum class Purpose { Copy, Display };

    explicit HtmlWork(Purpose purpose) : _display(purpose == Purpose::Display) {}

    void addText(QStringView text);
    /// `depth` elements stand open around it.
    void addStartTag(const QString &name, qsizetype depth);
    void addEndTag(const QString &name);
    void addAttribute(const QString &name, const QString &value);
    void addStyleSheet(const QString &rules);
    /// Places in the grid of a table that lies in `depth` - 1 others.
    void addCells(qint64 count, qsizetype depth);

    /// About a quarter of a second is used up.
    [[nodiscard]] bool isTooMuch() const;

private:
    bool _display;
    // In hundredths of a microsecond.
    qint64 _sum = 0;
    qint64 _styleRules = 0;
    qint64 _charactersOfBlock = 0;
    qint64 _charactersOfWord = 0;
    qint64 _picturesOfBlock = 0;
    QSet<QString> _fontStyles;
};

}  // namespace pelorinnews
