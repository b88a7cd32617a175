#include "ContactSheet.h"

#include "FeedInspector.h"

namespace pelorinnews {

namespace {

/// The mark must be near the top.
constexpr auto sheet = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
%1
<title>%2</title>
<meta name="viewport" content="width=device-width">
<style>
:root { color-scheme: light dark; }
body { font: 15px/1.45 sans-serif; margin: 1.5rem; background: #e9ebee; color: #1b1f24; }
h1 { font-size: 1.35rem; margin: 0 0 .3rem; }
h2 { font-size: 1.1rem; margin: 2.2rem 0 .2rem; }
p, ul { margin: .2rem 0 .8rem; max-width: 60rem; }
.pictures { display: grid; grid-template-columns: repeat(4, 1fr); gap: 1rem; }
figure { margin: 0; }
img { width: 100%; height: auto; display: block; border: 1px solid #8a9099; background: #fff; }
figcaption, .about { font-size: .85rem; color: #545b64; }
.missing { border: 1px dashed #8a9099; padding: 1rem; }
.error { color: #a40e26; }
@media (max-width: 60rem) { .pictures { grid-template-columns: repeat(2, 1fr); } }
@media (prefers-color-scheme: dark) {
  body { background: #1d2125; color: #e3e6ea; }
  figcaption, .about { color: #a9b1ba; }
  .error { color: #ff8f9c; }
}
</style>
</head>
<body>
<h1>%2</h1>
%3</body>
</html>
)";

QString page(const QString &feedName, const QString &content) {
    return QString::fromLatin1(sheet).arg(sheetMark(), forOneLine(feedName, 500).toHtmlEscaped(),
                                          content);
}

QString paragraph(const QString &text, const char *kind = "about") {
    return QStringLiteral("<p class=\"%1\">%2</p>\n")
        .arg(QLatin1String(kind), text.toHtmlEscaped());
}

QString lookName(PictureLook look) {
    return QStringLiteral("%1, %2 %")
        .arg(look.isDark ? QLatin1String("dark") : QLatin1String("light"))
        .arg(look.percent);
}

QString figure(std::size_t item, PictureRenderer renderer, PictureLook look, WebPicture state,
               QSize size) {
    const bool isWeb = renderer == PictureRenderer::Web;
    QString caption =
        (isWeb ? QStringLiteral("Web renderer, ") : QStringLiteral("Text renderer, ")) +
        lookName(look);
    if (isWeb && state == WebPicture::Absent)
        return QStringLiteral(
                   "<figure><div class=\"missing\">No picture: the web renderer did not "
                   "show this item. The panel shows the text.</div><figcaption>%1"
                   "</figcaption></figure>\n")
            .arg(caption);
    if (isWeb && state == WebPicture::TimedOut)
        caption += QStringLiteral(" <span class=\"error\">(still loading)</span>");
    return QStringLiteral(
               "<figure><a href=\"%1\"><img src=\"%1\" width=\"%2\" height=\"%3\" loading=\"lazy\" "
               "alt=\"Item %4\"></a><figcaption>%5</figcaption></figure>\n")
        .arg(pictureName(item, renderer, look))
        .arg(size.width())
        .arg(size.height())
        .arg(item)
        .arg(caption);
}

QString findingList(const std::vector<Finding> &findings, std::size_t item) {
    QString rows;
    for (const Finding &finding : findings) {
        if (finding.item == item)
            rows += QStringLiteral("<li%1>line %2: %3 [%4]</li>\n")
                        .arg(isError(finding.kind) ? QLatin1String(" class=\"error\"")
                                                   : QLatin1String())
                        .arg(finding.line)
                        .arg(finding.text.toHtmlEscaped(), nameOf(finding.kind));
    }
    return rows.isEmpty() ? QString() : QStringLiteral("<ul>\n%1</ul>\n").arg(rows);
}

QString section(std::size_t number, const OlvNewsCacheItem &item, bool isShown,
                const std::vector<Finding> &findings, const PictureRun::WebPictures &web,
                QSize size) {
    constexpr qsizetype maxTitle = 200;
    const QString title = item.title().isNull() ? QStringLiteral("(no title)") : item.title();
    QString about = item.date().isValid()
                        ? item.date().toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm 'UTC'"))
                        : QStringLiteral("no date");
    if (!isShown)
        about += QStringLiteral(" – no filter shows this item: readers do not see it");
    QString html = QStringLiteral("<section>\n<h2>%1. %2</h2>\n")
                       .arg(number)
                       .arg(forOneLine(title, maxTitle).toHtmlEscaped()) +
                   paragraph(about) + findingList(findings, number) +
                   QStringLiteral("<div class=\"pictures\">\n");
    for (const PictureRenderer renderer : {PictureRenderer::Web, PictureRenderer::Text}) {
        for (std::size_t look = 0; look < pictureLooks.size(); ++look)
            html += figure(number, renderer, pictureLooks[look], web[look], size);
    }
    return html + QStringLiteral("</div>\n</section>\n");
}

}  // namespace

QString unfinishedSheet(const QString &feedName) {
    return page(feedName, paragraph(QStringLiteral("The pictures are being taken.")));
}

QString contactSheet(const QString &feedName, const FeedPreview &preview,
                     const std::vector<Finding> &findings, const PictureRun &run, QSize pageSize) {
    const OlvNewsItemList &items = preview.items();
    QString content =
        paragraph(QStringLiteral("Each item as the news panel shows it, in a page of %1 × %2. A "
                                 "click on a picture shows it in its own size.")
                      .arg(pageSize.width())
                      .arg(pageSize.height()));
    if (items.size() > run.itemCount())
        content += paragraph(
            QStringLiteral("The first %1 of %2 items.").arg(run.itemCount()).arg(items.size()),
            "error");
    if (const QString problem = run.webProblem(); !problem.isNull())
        content += paragraph(QStringLiteral("Text renderer only: %1.").arg(problem), "error");
    content += findingList(findings, 0);
    for (std::size_t item = 0; item < run.itemCount(); ++item) {
        const bool isShown = preview.shows(*items[item], NewsTypeFilter::All, NewsFilter::All);
        content +=
            section(item + 1, *items[item], isShown, findings, run.webPictures(item), pageSize);
    }
    return page(feedName, content);
}

}  // namespace pelorinnews
