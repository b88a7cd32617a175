#include "GeneratedPages.h"

#include <QLatin1String>

#include <array>
#include <iterator>

namespace pelorinnews::test {

namespace {

constexpr std::array leftToRight{
    u"news",      u"straße",  u"naïve",
    u"Ωμέγα",     u"Новости", u"日本語",
    u"한국어",    u"ไทย",     u"👩‍👩‍👧",
    u"𝔘𝔫𝔦",       u"{brace",  u"end}",
    u"back\\par", u"A&B",     u"x<y>z",
    u"“quoted”",  u"—",       u"1,234.5",
    u"\\'e4",     u"é",       u"\\u8364?",
    u"a;b",       u"100%",    u"~tilde~",
};
constexpr std::array rightToLeft{u"שלום", u"مرحبا"};
constexpr std::array colors{"#ff0000", "#008000", "#123456", "#7f00ff"};
constexpr std::array backgrounds{"#ffff00", "#eeeeee", "#00ffff"};
constexpr std::array sizes{"8pt", "16pt", "20pt"};

struct Align {
    const char *html;
    const char *read;
};
constexpr std::array alignments{Align{"", "p"}, Align{" align=\"center\"", "p center"},
                                Align{" align=\"right\"", "p end"},
                                Align{" align=\"justify\"", "p justify"}};

}  // namespace

/// How a run of text looks, in the words of the outline.
struct PageGenerator::Look {
    bool bold = false;
    /// A heading is bold by its style. Only the font for complex scripts says so in each run.
    bool complexBold = false;
    bool italic = false;
    bool underline = false;
    bool strike = false;
    QLatin1String position{};
    QLatin1String font{};
    QLatin1String size{};
    QLatin1String color{};
    QLatin1String background{};

    [[nodiscard]] QString outline() const {
        QStringList words;
        if (bold)
            words << QStringLiteral("bold");
        if (bold || complexBold)
            words << QStringLiteral("complex bold");
        if (italic)
            words << QStringLiteral("italic");
        if (underline)
            words << QStringLiteral("underline solid");
        if (strike)
            words << QStringLiteral("strike solid");
        if (!position.isEmpty())
            words << position + QStringLiteral(" 58%");
        if (!font.isEmpty())
            words << font;
        if (!size.isEmpty())
            words << size;
        if (!color.isEmpty())
            words << QStringLiteral("color ") + color;
        if (!background.isEmpty())
            words << QStringLiteral("on ") + background;
        return words.join(QLatin1Char(' '));
    }
};

int PageGenerator::below(int limit) {
    // The distributions of the standard library differ from one implementation to another.
    return static_cast<int>(_random() % static_cast<unsigned>(limit));
}

template <typename List>
auto PageGenerator::oneOf(const List &list) {
    return list[static_cast<std::size_t>(below(static_cast<int>(std::size(list))))];
}

GeneratedPage PageGenerator::page() {
    _html.clear();
    _expected.clear();
    for (int count = 1 + below(8); count > 0; --count)
        block();
    // LibreOffice puts the last paragraph of a text in the first level of its list.
    paragraph();
    return {_html, _expected};
}

void PageGenerator::block() {
    switch (below(8)) {
        case 0:
            return heading();
        case 1:
            return quote();
        case 2:
            return preformatted();
        case 3:
            return list(1);
        case 4:
            return table();
        case 5:
            _html += QStringLiteral("<hr>");
            _expected << QStringLiteral("p rule 0.74pt solid #000000:");
            return paragraph();
        default:
            return paragraph();
    }
}

void PageGenerator::paragraph() {
    const Align align = oneOf(alignments);
    _html += QStringLiteral("<p%1>").arg(QLatin1String(align.html));
    beginLine(QLatin1String(align.read) + QStringLiteral(": "));
    runs({});
    endLine();
    _html += QStringLiteral("</p>\n");
}

void PageGenerator::heading() {
    const int level = 1 + below(6);
    _html += QStringLiteral("<h%1>").arg(level);
    beginLine(QStringLiteral("h%1: ").arg(level));
    Look look;
    look.complexBold = level < 6;
    runs(look, true);
    endLine();
    _html += QStringLiteral("</h%1>").arg(level);
}

void PageGenerator::quote() {
    _html += QStringLiteral("<blockquote>");
    beginLine(QStringLiteral("p indent 0.4165in: "));
    runs({});
    endLine();
    _html += QStringLiteral("</blockquote>");
}

void PageGenerator::preformatted() {
    _html += QStringLiteral("<pre>");
    Look look;
    look.font = QLatin1String("Courier New");
    for (int count = 1 + below(3); count > 0; --count) {
        beginLine(QStringLiteral("p: "));
        write(words(true) + QString(1 + below(4), QLatin1Char(' ')) + words(false), look);
        endLine();
        if (count > 1)
            _html += QLatin1Char('\n');
    }
    _html += QStringLiteral("</pre>");
}

void PageGenerator::list(int depth) {
    static constexpr std::array types{"1", "A", "a", "I", "i"};
    const bool ordered = chance(50);
    QString marker = QStringLiteral("•");
    if (ordered) {
        marker = QLatin1String(oneOf(types));
        const int start = chance(30) ? 2 + below(40) : 1;
        _html += QStringLiteral("<ol type=\"%1\" start=\"%2\">").arg(marker).arg(start);
        if (start > 1)
            marker += QStringLiteral(" from %1").arg(start);
    } else {
        _html += QStringLiteral("<ul type=\"disc\">");
    }
    for (int count = 1 + below(4); count > 0; --count) {
        _html += QStringLiteral("<li>");
        // Also after a list within the last item.
        _context = QStringLiteral("item %1 %2 ").arg(depth).arg(marker);
        beginLine(QStringLiteral("p: "));
        runs({});
        endLine();
        if (depth < 4 && chance(25))
            list(depth + 1);
        _html += QStringLiteral("</li>");
    }
    if (depth == 1)
        _context.clear();
    _html += ordered ? QStringLiteral("</ol>") : QStringLiteral("</ul>");
}

void PageGenerator::table() {
    const bool border = chance(50);
    const int columns = 1 + below(4);
    _html += QStringLiteral("<table border=\"%1\">").arg(border ? 1 : 0);
    const int rows = 1 + below(3);
    for (int row = 0; row < rows; ++row) {
        _html += QStringLiteral("<tr>");
        for (int column = 0; column < columns;) {
            // The first row has a cell in each column: columns that no cell ends in are one.
            const int width = 1 + (row > 0 && chance(20) ? below(columns - column) : 0);
            QString cell = QStringLiteral("cell");
            if (border)
                cell += QStringLiteral(" border 0.75pt solid #808080");
            _html += QStringLiteral("<td");
            if (width > 1) {
                _html += QStringLiteral(" colspan=\"%1\"").arg(width);
                cell += QStringLiteral(" columns %1").arg(width);
            }
            _html += QLatin1Char('>');
            _context = cell + QLatin1Char(' ');
            beginLine(QStringLiteral("p: "));
            runs({});
            endLine();
            _html += QStringLiteral("</td>");
            column += width;
        }
        _html += QStringLiteral("</tr>");
    }
    _context.clear();
    _html += QStringLiteral("</table>");
}

void PageGenerator::runs(const Look &base, bool heading) {
    write(words(true), base);
    for (int count = below(5); count > 0; --count) {
        if (chance(10)) {
            append(QStringLiteral("[line]"), base);
            _html += QStringLiteral("<br>");
        } else {
            write(QStringLiteral(" "), base);
        }
        if (chance(20))
            link(base);
        else
            run(base, heading);
    }
}

void PageGenerator::run(const Look &base, bool heading) {
    Look look = base;
    QString before;
    QString after;
    const auto wrap = [&](const QString &tag, const QString &attributes = {}) {
        before += QLatin1Char('<') + tag + attributes + QLatin1Char('>');
        after.prepend(QStringLiteral("</") + tag + QLatin1Char('>'));
    };
    if (!heading && chance(25)) {
        look.bold = true;
        wrap(chance(50) ? QStringLiteral("b") : QStringLiteral("strong"));
    }
    if (chance(25)) {
        look.italic = true;
        wrap(chance(50) ? QStringLiteral("i") : QStringLiteral("em"));
    }
    if (chance(15)) {
        look.underline = true;
        wrap(QStringLiteral("u"));
    }
    if (chance(15)) {
        look.strike = true;
        wrap(chance(50) ? QStringLiteral("s") : QStringLiteral("del"));
    }
    if (chance(10)) {
        const bool super = chance(50);
        look.position = QLatin1String(super ? "super" : "sub");
        wrap(super ? QStringLiteral("sup") : QStringLiteral("sub"));
    }
    if (chance(30)) {
        QString style;
        if (chance(60)) {
            look.color = QLatin1String(oneOf(colors));
            style += QStringLiteral("color:%1;").arg(look.color);
        }
        if (chance(40)) {
            look.background = QLatin1String(oneOf(backgrounds));
            style += QStringLiteral("background-color:%1;").arg(look.background);
        }
        // A heading enlarges a size that also occurs outside headings.
        if (!heading && chance(30)) {
            look.size = QLatin1String(oneOf(sizes));
            style += QStringLiteral("font-size:%1").arg(look.size);
        }
        wrap(QStringLiteral("span"), QStringLiteral(" style=\"%1\"").arg(style));
    }
    if (chance(10)) {
        look.font = QLatin1String("Courier New");
        wrap(QStringLiteral("code"));
    }
    _html += before;
    write(words(false), look);
    _html += after;
}

void PageGenerator::link(const Look &base) {
    static constexpr std::array addresses{
        "https://news.example/", "https://news.example/a?b=1&c=2#d", "mailto:editor@news.example",
        "http://news.example/%7B%5C%7D"};
    const QString address = QLatin1String(oneOf(addresses));
    endSpan();
    _html += QStringLiteral("<a href=\"%1\">").arg(address.toHtmlEscaped());
    _line += QLatin1Char('<') + address + QLatin1Char('|');
    Look look = base;
    look.underline = true;
    look.color = QLatin1String("#0000ee");
    write(words(false), look);
    endSpan();
    _html += QStringLiteral("</a>");
    _line += QLatin1Char('>');
}

QString PageGenerator::words(bool first) {
    QStringList found{QString::fromUtf16(oneOf(leftToRight))};
    // The first letter of a paragraph decides its direction.
    for (int count = below(4); count > 0; --count)
        found << QString::fromUtf16(!first && chance(10) ? oneOf(rightToLeft) : oneOf(leftToRight));
    if (first)
        found.prepend(QStringLiteral("Text"));
    return found.join(QLatin1Char(' '));
}

void PageGenerator::write(const QString &text, const Look &look) {
    if (chance(10)) {
        for (const char32_t point : text.toUcs4())
            _html += QStringLiteral("&#%1;").arg(static_cast<uint>(point));
    } else {
        _html += text.toHtmlEscaped();
    }
    append(text, look);
}

void PageGenerator::append(const QString &text, const Look &look) {
    const QString outline = look.outline();
    if (outline != _openLook) {
        endSpan();
        if (!outline.isEmpty())
            _line += QLatin1Char('{') + outline + QLatin1Char('|');
        _openLook = outline;
    }
    _line += text;
}

void PageGenerator::endSpan() {
    if (!_openLook.isEmpty())
        _line += QLatin1Char('}');
    _openLook.clear();
}

void PageGenerator::beginLine(const QString &line) {
    _line = _context + line;
}

void PageGenerator::endLine() {
    endSpan();
    _expected << _line;
}

QStringList PageGenerator::flattened(const QString &outline) {
    QStringList lines;
    QStringList open;
    for (const QString &line : outline.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QString content = line.trimmed();
        const qsizetype depth = (line.size() - line.trimmed().size()) / 2;
        open.resize(depth);
        if (!content.startsWith(QLatin1Char('p')) && !content.startsWith(QLatin1Char('h')))
            open << content;
        else if (content != QStringLiteral("p:"))
            lines << (open.isEmpty() ? QString() : open.last() + QLatin1Char(' ')) + content;
    }
    return lines;
}

}  // namespace pelorinnews::test
