#include "FeedReport.h"

#include "FeedInspector.h"
#include "feed/OlvNewsParser.h"

#include <algorithm>

namespace pelorinnews {

namespace {

constexpr qsizetype maxRows = 100;

/// "1 item", "2 items".
QString counted(std::size_t count, const char *noun) {
    return QStringLiteral("%1 %2%3").arg(QString::number(count), QLatin1String(noun),
                                         count == 1 ? QString() : QStringLiteral("s"));
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

/// The findings to print: the first, and always the one that tells where the document breaks off.
std::vector<Finding> firstOf(std::vector<Finding> findings) {
    if (findings.size() <= static_cast<std::size_t>(maxRows))
        return findings;
    const auto broken = std::find_if(findings.begin(), findings.end(), [](const Finding &finding) {
        return breaksOff(finding.kind);
    });
    if (broken != findings.end() && broken - findings.begin() >= maxRows)
        std::rotate(findings.begin() + maxRows - 1, broken, broken + 1);
    findings.resize(static_cast<std::size_t>(maxRows));
    return findings;
}

QString findingRow(const Finding &finding, const TerminalColors &colors) {
    const QString place = finding.line > 0 ? QStringLiteral("  line %1").arg(finding.line, 5)
                                           : QString(12, QLatin1Char(' '));
    const QString item =
        finding.item > 0 ? QStringLiteral("item %1: ").arg(finding.item) : QString();
    return line((isError(finding.kind) ? colors.error(place) : colors.warning(place)) +
                QLatin1String("  ") + item + finding.text +
                colors.faint(QStringLiteral("  [%1]").arg(nameOf(finding.kind))));
}

QString findingRows(const std::vector<Finding> &findings, const TerminalColors &colors) {
    if (findings.empty())
        return line(colors.good(QStringLiteral("No mistakes found.")));
    const auto errors = static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(),
                      [](const Finding &finding) { return isError(finding.kind); }));
    QStringList counts;
    if (errors > 0)
        counts.append(counted(errors, "error"));
    if (findings.size() > errors)
        counts.append(counted(findings.size() - errors, "warning"));
    QString rows =
        line(colors.heading(QStringLiteral("Mistakes (%1)").arg(counts.join(QLatin1String(", ")))));
    for (const Finding &finding : firstOf(findings))
        rows += findingRow(finding, colors);
    if (findings.size() > static_cast<std::size_t>(maxRows))
        rows += line(QStringLiteral("  … and %1 more; --json lists them all")
                         .arg(findings.size() - static_cast<std::size_t>(maxRows)));
    return rows + line(colors.faint(QStringLiteral("\"pelorin-feedcheck --explain NAME\" explains "
                                                   "a name in brackets.")));
}

}  // namespace

QString feedReport(const FeedSource &source, const std::optional<QVariantMap> &feed,
                   const FeedPreview &preview, const QString &locale,
                   const std::vector<Finding> &findings, const TerminalColors &colors) {
    QString report = line(colors.heading(forOneLine(source.name, 500)));
    if (!feed)
        return report + line(QStringLiteral("gives no news")) + line() +
               findingRows(findings, colors);
    const QString language = feed->value(OlvNewsFeedChannelLanguageKeyName).toString();
    report +=
        line(QStringLiteral("%1 in the language \"%2\", dates read as for %3")
                 .arg(counted(preview.items().size(), "item"), forOneLine(language), locale)) +
        line() + filterTable(preview) + line();
    if (!preview.items().empty())
        report += itemRows(preview) + line();
    return report + findingRows(findings, colors);
}

}  // namespace pelorinnews
