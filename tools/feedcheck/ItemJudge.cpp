#include "ItemJudge.h"

#include "PageJudge.h"

#include <QRegularExpression>

#include <algorithm>
#include <iterator>
#include <utility>

namespace pelorinnews {

std::vector<Finding> ItemJudge::judge(const OlvNewsCacheItem &item,
                                      const InspectedItem &inspected) {
    ++_number;
    _findings.clear();
    judgeTexts(item, inspected);
    std::vector<Finding> ofDate = _dates.judge(item, inspected);
    std::move(ofDate.begin(), ofDate.end(), std::back_inserter(_findings));
    judgeCategory(item, inspected);
    judgePageOf(item, inspected);
    judgeRepetition(item, inspected);
    return std::exchange(_findings, {});
}

void ItemJudge::judgeTexts(const OlvNewsCacheItem &item, const InspectedItem &inspected) {
    const auto judgeMissing = [&](FindingKind kind, const char *element, const QString &text,
                                  const char *consequence) {
        if (!text.trimmed().isEmpty())
            return;
        const bool missing = inspected.elements.count(element) == 0;
        note(kind, inspected.lineOf(element),
             QStringLiteral("%1 <%2>, so %3")
                 .arg(missing ? QStringLiteral("no") : QStringLiteral("empty"),
                      QLatin1String(element), QLatin1String(consequence)));
    };
    judgeMissing(FindingKind::TitleMissing, "title", item.title(), "its announcement says nothing");
    judgeMissing(FindingKind::DescriptionMissing, "description", item.htmlContent(),
                 "the window shows an empty page for it");
    judgeMissing(FindingKind::CommentsMissing, "comments", item.plainTextContent(),
                 "screen readers say \"Pelorin News content\" instead");
    if (looksLikeHtml(item.title()))
        note(FindingKind::TitleHtml, inspected.lineOf("title"),
             QStringLiteral("the announcement shows the HTML in the title \"%1\" as it stands: "
                            "write plain text")
                 .arg(forOneLine(item.title())));
    judgeComments(item.plainTextContent(), inspected.lineOf("comments"));
}

void ItemJudge::judgeComments(const QString &comments, qint64 line) {
    static const QRegularExpression address(
        QStringLiteral("^\\s*([A-Za-z][A-Za-z0-9+.-]*://|www\\.)\\S+\\s*$"));
    if (address.match(comments).hasMatch())
        note(FindingKind::CommentsAddress, line,
             QStringLiteral("screen readers speak the address \"%1\": <comments> holds the text of "
                            "the page")
                 .arg(forOneLine(comments)));
    else if (looksLikeHtml(comments))
        note(
            FindingKind::CommentsHtml, line,
            QStringLiteral("screen readers speak the HTML in \"%1\" as it stands: write plain text")
                .arg(forOneLine(comments)));
}

void ItemJudge::judgeCategory(const OlvNewsCacheItem &item, const InspectedItem &inspected) {
    const qint64 line = inspected.lineOf("category");
    const auto isMissingCase = [&](const QStringList &words) {
        return std::all_of(words.begin(), words.end(), [&](const QString &word) {
            return item.category().contains(word, Qt::CaseInsensitive);
        });
    };
    const QStringList words = categoriesOf(NewsTypeFilter::All);
    const QString needed = words.join(QLatin1String("\" and \""));
    if (item.category().isNull()) {
        note(FindingKind::CategoryMissing, line,
             QStringLiteral("no <category>, so no filter lets it through; it needs \"%1\"")
                 .arg(needed));
    } else if (!_preview.shows(item, NewsTypeFilter::All, NewsFilter::All)) {
        note(FindingKind::CategoryUnshown, line,
             QStringLiteral("no filter lets the category \"%1\" through; it needs \"%2\"%3")
                 .arg(forOneLine(item.category()), needed,
                      isMissingCase(words) ? QStringLiteral(", in small letters") : QString()));
    } else if (!_preview.shows(item, NewsTypeFilter::Critical, NewsFilter::All) &&
               isMissingCase(categoriesOf(NewsTypeFilter::Critical))) {
        note(FindingKind::CategoryCritical, line,
             QStringLiteral("the category \"%1\" is not critical: write \"critical\" in small "
                            "letters")
                 .arg(forOneLine(item.category())));
    }
}

void ItemJudge::judgePageOf(const OlvNewsCacheItem &item, const InspectedItem &inspected) {
    const QString html = item.htmlContent();
    const auto description = inspected.elements.find("description");
    if (description != inspected.elements.end() && !html.trimmed().isEmpty()) {
        std::vector<Finding> ofPage = judgePage(html, description->second);
        std::move(ofPage.begin(), ofPage.end(), std::back_inserter(_findings));
    }
    // Once for the whole feed: a generator writes a link into every item.
    if (_linkNoted || inspected.link.isEmpty())
        return;
    const QString escaped = QString(inspected.link).replace(u'&', QLatin1String("&amp;"));
    if (html.contains(inspected.link) || html.contains(escaped))
        return;
    _linkNoted = true;
    note(
        FindingKind::LinkUnread, inspected.linkLine,
        QStringLiteral("<link> is not read, here and in other items: readers get to \"%1\" only if "
                       "the page links to it")
            .arg(forOneLine(inspected.link)));
}

void ItemJudge::judgeRepetition(const OlvNewsCacheItem &item, const InspectedItem &inspected) {
    const QStringList content{item.title(), item.htmlContent(), item.plainTextContent()};
    if (content.join(QString()).trimmed().isEmpty())
        return;
    const auto known = _known.constFind(content);
    if (known == _known.cend())
        _known.insert(content, _number);
    else
        note(FindingKind::ItemDuplicate, inspected.line,
             QStringLiteral("has the same title and texts as item %1: readers see it twice")
                 .arg(*known));
}

}  // namespace pelorinnews
