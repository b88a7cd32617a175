#include "FeedReport.h"

#include "FeedPreview.h"
#include "JsonOutput.h"
#include "feed/OlvNewsParser.h"

#include <algorithm>

namespace pelorinnews {

namespace {

constexpr qsizetype maxRows = 100;

/// Reports problems with the feed's language element.
void judgeLanguage(const FeedInspector &inspector, const QString &language,
                   std::vector<Finding> &findings) {
    const qint64 line = inspector.languageLine();
    if (language.isNull())
        findings.push_back({std::max<qint64>(1, line),
                            QStringLiteral("there is no whole <language>: the panel takes nothing "
                                           "of this feed and keeps the news it has")});
    else if (language.isEmpty())
        findings.push_back(
            {line, QStringLiteral("the language is empty: the news is shown but never announced")});
    else if (language != language.trimmed())
        findings.push_back({line, QStringLiteral("white space belongs to the language too: no "
                                                 "user's language begins with it, so the news is "
                                                 "shown but never announced")});
}

void judgeCategory(const OlvNewsCacheItem &item, const FeedPreview &preview, qint64 line,
                   const QString &name, std::vector<Finding> &findings) {
    if (preview.shows(item, NewsTypeFilter::All, NewsFilter::All))
        return;
    const QStringList words = categoriesOf(NewsTypeFilter::All);
    const QString needed = words.join(QLatin1String("\" and \""));
    if (item.category().isNull()) {
        findings.push_back({line, name + QStringLiteral(": no <category>, so no filter lets it "
                                                        "through; it needs \"%1\"")
                                             .arg(needed)});
        return;
    }
    const bool onlyCase = std::all_of(words.begin(), words.end(), [&](const QString &word) {
        return item.category().contains(word, Qt::CaseInsensitive);
    });
    findings.push_back(
        {line, name + QStringLiteral(": no filter lets the category \"%1\" through; it needs "
                                     "\"%2\"%3")
                          .arg(forOneLine(item.category()), needed,
                               onlyCase ? QStringLiteral(", in small letters") : QString())});
}

void judgeDate(const OlvNewsCacheItem &item, const InspectedItem &inspected, const QString &locale,
               qint64 line, const QString &name, std::vector<Finding> &findings) {
    if (!inspected.elements.contains("pubDate")) {
        findings.push_back(
            {line, name + QStringLiteral(": no <pubDate>, so it shows only among all news, and is "
                                         "never announced as new")});
    } else if (!item.date().isValid()) {
        findings.push_back(
            {line, name + QStringLiteral(": a user of %1 cannot read the date \"%2\", so it shows "
                                         "only among all news; dates look like \"Mon, 02 Mar 2015 "
                                         "10:00:00 GMT\", in the user's language")
                              .arg(locale, forOneLine(inspected.dateText))});
    } else if (item.date() > QDateTime::currentDateTimeUtc()) {
        findings.push_back(
            {line, name + QStringLiteral(": dated in the future (%1); once it was viewed, all news "
                                         "before that date counts as read")
                              .arg(isoDate(item.date()))});
    }
}

void judgeTexts(const OlvNewsCacheItem &item, const InspectedItem &inspected, const QString &name,
                std::vector<Finding> &findings) {
    const auto judge = [&](const char *element, const QString &text, const char *consequence) {
        if (!text.trimmed().isEmpty())
            return;
        const auto found = inspected.elements.find(element);
        const bool missing = found == inspected.elements.end();
        findings.push_back(
            {missing ? inspected.line : found->second,
             name + QStringLiteral(": %1 <%2>, so %3")
                        .arg(missing ? QStringLiteral("no") : QStringLiteral("empty"),
                             QLatin1String(element), QLatin1String(consequence))});
    };
    judge("title", item.title(), "its announcement says nothing");
    judge("description", item.htmlContent(), "the window shows an empty page for it");
    judge("comments", item.plainTextContent(),
          "screen readers say \"Pelorin News content\" instead");
}

void judgeItems(const FeedPreview &preview, const FeedInspector &inspector, const QString &locale,
                std::vector<Finding> &findings) {
    const std::size_t count = std::min(preview.items().size(), inspector.items().size());
    for (std::size_t index = 0; index < count; ++index) {
        const OlvNewsCacheItem &item = *preview.items()[index];
        const InspectedItem &inspected = inspector.items()[index];
        const auto lineOf = [&inspected](const char *element) {
            const auto found = inspected.elements.find(element);
            return found == inspected.elements.end() ? inspected.line : found->second;
        };
        const QString name = QStringLiteral("item %1").arg(index + 1);
        judgeTexts(item, inspected, name, findings);
        judgeDate(item, inspected, locale, lineOf("pubDate"), name, findings);
        judgeCategory(item, preview, lineOf("category"), name, findings);
    }
}

void judgeOrder(const FeedPreview &preview, const FeedInspector &inspector,
                std::vector<Finding> &findings) {
    const OlvNewsItemList &items = preview.items();
    const auto latest =
        std::max_element(items.begin(), items.end(), [](const auto &a, const auto &b) {
            return b->date().isValid() && (!a->date().isValid() || a->date() < b->date());
        });
    if (latest == items.end() || !(*latest)->date().isValid() ||
        (*latest)->date() == items.front()->date())
        return;
    const auto index = static_cast<std::size_t>(latest - items.begin());
    findings.push_back({inspector.items()[index].line,
                        QStringLiteral("item %1 is the latest but not the first: the panel keeps "
                                       "the feed's order and opens with the first")
                            .arg(index + 1)});
}

/// The number of the first line that is not UTF-8, from 1. Each line can be checked separately,
/// because no byte of a multi-byte UTF-8 character is a line feed.
qint64 firstLineNotUtf8(const QByteArray &bytes) {
    const QList<QByteArray> lines = bytes.split('\n');
    const auto found = std::find_if(lines.begin(), lines.end(),
                                    [](const QByteArray &one) { return !one.isValidUtf8(); });
    return found - lines.begin() + 1;
}

QString line(const QString &text = {}) {
    return text + QLatin1Char('\n');
}

QString filterTable(const FeedPreview &preview) {
    const auto row = [&](const QString &name, NewsTypeFilter type) {
        QString cells = QStringLiteral("  %1").arg(name, -16);
        for (const NewsFilter age : {NewsFilter::Unread, NewsFilter::Recent, NewsFilter::All})
            cells += QStringLiteral("%1").arg(preview.count(type, age), 14);
        return line(cells);
    };
    return line(QStringLiteral("What the panel shows      Unread*  Last 30 days           All")) +
           row(QStringLiteral("All news"), NewsTypeFilter::All) +
           row(QStringLiteral("Critical only"), NewsTypeFilter::Critical) +
           line(QStringLiteral("  * to somebody who has not looked yet"));
}

QString shownUnder(const FeedPreview &preview, const OlvNewsCacheItem &item) {
    QStringList filters;
    const auto add = [&](NewsTypeFilter type, NewsFilter age, const char *name) {
        if (preview.shows(item, type, age))
            filters.append(QLatin1String(name));
    };
    add(NewsTypeFilter::All, NewsFilter::Unread, "unread");
    add(NewsTypeFilter::All, NewsFilter::Recent, "30 days");
    add(NewsTypeFilter::All, NewsFilter::All, "all");
    add(NewsTypeFilter::Critical, NewsFilter::All, "critical");
    return filters.isEmpty() ? QStringLiteral("nothing") : filters.join(QLatin1String(", "));
}

QString itemRows(const FeedPreview &preview) {
    QString rows =
        line(QStringLiteral("     #  Published (UTC)   Shown under                     "
                            "Title"));
    qsizetype number = 0;
    for (const auto &item : preview.items()) {
        if (++number > maxRows)
            return rows + line(QStringLiteral("  … and %1 more")
                                   .arg(preview.items().size() - static_cast<size_t>(maxRows)));
        const QString date = item->date().isValid()
                                 ? item->date().toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm"))
                                 : QStringLiteral("no date");
        const QString title = item->title().isNull() ? QStringLiteral("(no title)") : item->title();
        rows += line(QStringLiteral("  %1  %2  %3  ")
                         .arg(number, 4)
                         .arg(date, -16)
                         .arg(shownUnder(preview, *item), -30) +
                     forOneLine(title));
    }
    return rows;
}

QString findingRows(std::vector<Finding> findings) {
    if (findings.empty())
        return line(QStringLiteral("No mistakes found."));
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding &a, const Finding &b) { return a.line < b.line; });
    // Always report where the document breaks off, however long the list is.
    const auto broken = std::find_if(findings.begin(), findings.end(),
                                     [](const Finding &finding) { return finding.breaksOff; });
    if (broken != findings.end() && broken - findings.begin() >= maxRows)
        std::rotate(findings.begin() + maxRows - 1, broken, broken + 1);
    QString rows = line(QStringLiteral("Mistakes (%1)").arg(findings.size()));
    qsizetype number = 0;
    for (const Finding &finding : findings) {
        if (++number > maxRows)
            return rows + line(QStringLiteral("  … and %1 more")
                                   .arg(findings.size() - static_cast<size_t>(maxRows)));
        rows += line(QStringLiteral("  line %1  %2").arg(finding.line, 5).arg(finding.text));
    }
    return rows;
}

}  // namespace

QString feedReport(const FeedSource &source, const QString &text,
                   const std::optional<QVariantMap> &feed, const QString &locale) {
    QString report = line(forOneLine(source.name, 500));
    if (!source.body)
        return report +
               line(QStringLiteral("cannot be read: ") + errorText(source.error.value_or(Error())));
    if (text.isNull())
        return report + line(QStringLiteral("gives no news")) + line() +
               findingRows({{firstLineNotUtf8(*source.body),
                             QStringLiteral("this line is not UTF-8: the panel takes nothing of "
                                            "this feed and keeps the news it has")}});

    const FeedInspector inspector(text);
    const FeedPreview preview(feed);
    const QString language =
        feed ? feed->value(OlvNewsFeedChannelLanguageKeyName).toString() : QString();
    std::vector<Finding> findings = inspector.findings();
    judgeLanguage(inspector, language, findings);
    if (!language.isNull()) {
        judgeItems(preview, inspector, locale, findings);
        judgeOrder(preview, inspector, findings);
        report += line(QStringLiteral("%1 items in the language \"%2\", dates read as for %3")
                           .arg(preview.items().size())
                           .arg(forOneLine(language), locale)) +
                  line() + filterTable(preview) + line();
        if (!preview.items().empty())
            report += itemRows(preview) + line();
    } else {
        report += line(QStringLiteral("gives no news")) + line();
    }
    return report + findingRows(std::move(findings));
}

}  // namespace pelorinnews
