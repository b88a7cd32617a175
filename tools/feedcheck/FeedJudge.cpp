#include "FeedJudge.h"

#include "DocumentForm.h"
#include "FeedInspector.h"
#include "FeedReaders.h"
#include "ItemJudge.h"
#include "JsonOutput.h"
#include "XmlFailure.h"
#include "feed/OlvNewsParser.h"

#include <QRegularExpression>

#include <algorithm>

namespace pelorinnews {

namespace {

Finding judgeSource(const Error &error) {
    if (error.domain != u"HTTP Property Status Code")
        return {FindingKind::SourceUnreadable, 0,
                QStringLiteral("cannot be read: ") + errorText(error)};
    constexpr int firstServerError = 500;
    const char *const advice = error.code == 401 || error.code == 403
                                   ? "the panel sends no password: publish the feed for everybody"
                               : error.code >= firstServerError
                                   ? "the service has failed: look into its log"
                                   : "correct the address, or publish the feed there";
    return {FindingKind::HttpStatus, 0,
            QStringLiteral("the service answers with the HTTP status %1, so the panel keeps the "
                           "news it has; %2")
                .arg(QString::number(error.code), QLatin1String(advice))};
}

QString languageAdvice(const QString &language) {
    const QString suggested = FeedReaders::suggestedLanguage(language);
    return suggested.isEmpty() ? QStringLiteral("write a language code such as \"en\" or \"de-AT\"")
                               : QStringLiteral("write \"%1\"").arg(suggested);
}

/// Reports problems with the feed's language element.
void judgeLanguage(qint64 line, const QString &language, const FeedReader &reader,
                   std::vector<Finding> &findings) {
    const QString shown = QStringLiteral(", so the news is shown but never announced; ");
    if (language.isNull())
        findings.push_back({FindingKind::LanguageMissing, line,
                            QStringLiteral("there is no whole <language>: the panel takes nothing "
                                           "of this feed and keeps the news it has")});
    else if (language.isEmpty())
        findings.push_back(
            {FindingKind::LanguageEmpty, line,
             QStringLiteral("the language is empty") + shown + languageAdvice(language)});
    else if (language != language.trimmed())
        findings.push_back({FindingKind::LanguageBlank, line,
                            QStringLiteral("white space belongs to the language too: no user's "
                                           "language begins with it") +
                                shown + languageAdvice(language)});
    else if (!FeedReaders::isKnownLanguage(language))
        findings.push_back(
            {FindingKind::LanguageUnknown, line,
             QStringLiteral("no user's language begins with \"%1\"").arg(forOneLine(language)) +
                 shown + languageAdvice(language)});
    else if (!reader.language.isNull() && !FeedReaders::matches(reader.language, language))
        findings.push_back({FindingKind::LanguageOther, line,
                            QStringLiteral("the language of the reader is \"%1\", which does not "
                                           "begin with \"%2\"")
                                    .arg(reader.language, language) +
                                shown + QStringLiteral("serve this reader another feed")});
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
    findings.push_back({FindingKind::ItemOrder, inspector.items()[index].line,
                        QStringLiteral("the latest, but not the first: the panel keeps the "
                                       "feed's order and opens with the first"),
                        index + 1});
}

void judgeItems(const FeedPreview &preview, const FeedInspector &inspector, const QString &language,
                const FeedReader &reader, std::vector<Finding> &findings) {
    const bool forAll = reader.language.isNull() && FeedReaders::isKnownLanguage(language);
    ItemJudge judge(preview, reader.locale,
                    forAll ? FeedReaders::languagesReached(language) : QStringList());
    const std::size_t count = std::min(preview.items().size(), inspector.items().size());
    for (std::size_t index = 0; index < count; ++index) {
        for (Finding &finding : judge.judge(*preview.items()[index], inspector.items()[index])) {
            finding.item = index + 1;
            findings.push_back(std::move(finding));
        }
    }
    judgeOrder(preview, inspector, findings);
    if (count == 0)
        findings.push_back({FindingKind::FeedEmpty, inspector.rootLine(),
                            QStringLiteral("there is no whole <item>: the panel keeps the items "
                                           "that it shows")});
}

/// The items of a feed that lacks only its language, so that an editor sees all mistakes at once.
/// Absent if the feed has no items.
std::optional<QVariantMap> parseWithoutLanguage(QString text, const QString &locale) {
    static const QRegularExpression item(QStringLiteral("<item[\\s/>]"));
    const qsizetype first = text.indexOf(item);
    if (first < 0)
        return std::nullopt;
    return OlvNewsParser(locale).parse(text.insert(first, QLatin1String("<language/>")));
}

}  // namespace

std::vector<Finding> judgeFeed(const FeedSource &source, const QString &text,
                               const std::optional<QVariantMap> &feed, const FeedPreview &preview,
                               const FeedReader &reader) {
    if (!source.body)
        return {judgeSource(source.error.value_or(Error()))};
    if (std::optional<Finding> other = otherThanXml(*source.body)) {
        constexpr int usual = 200;
        if (other->kind == FindingKind::DocumentEmpty && source.status > usual)
            other->text += QStringLiteral(
                               "; the service answers with the HTTP status %1 instead of "
                               "200 and the whole feed")
                               .arg(source.status);
        return {*other};
    }

    const FeedInspector inspector(text);
    std::vector<Finding> findings = inspector.findings();
    if (inspector.error())
        findings.push_back(xmlFailure(*inspector.error(), text));
    const QString language =
        feed ? feed->value(OlvNewsFeedChannelLanguageKeyName).toString() : QString();
    const std::optional<Finding> format = otherFeedFormat(inspector);
    if (format)
        findings.push_back(*format);
    // A document that breaks off may have a language behind that place.
    const bool isOpen = inspector.error() && inspector.languageLine() == 0;
    if (feed || !(format || isOpen))
        judgeLanguage(std::max(inspector.languageLine(), inspector.rootLine()), language, reader,
                      findings);
    if (feed)
        judgeItems(preview, inspector, language, reader, findings);
    else if (const auto items = parseWithoutLanguage(text, reader.locale))
        judgeItems(FeedPreview(items), inspector, language, reader, findings);
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding &a, const Finding &b) { return a.line < b.line; });
    return findings;
}

}  // namespace pelorinnews
