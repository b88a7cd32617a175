#include "CommandLine.h"
#include "ContactSheet.h"
#include "Explanation.h"
#include "FeedJudge.h"
#include "FeedReaders.h"
#include "FeedReport.h"
#include "FeedSource.h"
#include "FileWatch.h"
#include "JsonOutput.h"
#include "PictureFolder.h"
#include "PictureRun.h"
#include "feed/FeedDownload.h"
#include "feed/OlvNewsParser.h"
#include "platform/DateFormatter.h"
#include "platform/PreferredLanguages.h"

#include <QCoreApplication>

#include <cstdio>
#include <functional>

using namespace pelorinnews;

namespace {

// Unscoped, because `main` returns a number.
enum ExitCode { HasResult = 0, NoResult = 1, BadUsage = 2 };

using Feed = std::optional<QVariantMap>;

int usage(const QString &message) {
    std::fprintf(stderr, "pelorin-feedcheck: %s\nTry --help.\n", qUtf8Printable(message));
    return BadUsage;
}

bool print(const QByteArray &bytes) {
    const auto size = static_cast<size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
}

QByteArray findingList() {
    QByteArray list;
    for (const FindingKind kind : allFindingKinds())
        list += QByteArray(isError(kind) ? "error    " : "warning  ") + nameOf(kind).data() + '\n';
    return list;
}

int explain(const QString &finding) {
    const QString text = explanationOf(finding);
    if (text.isNull())
        return usage(QStringLiteral("no finding: %1 (--list-findings lists them)").arg(finding));
    return print(text.toUtf8()) ? HasResult : NoResult;
}

/// The language that a user of `locale` prefers: "de-DE" for "de_DE.UTF-8".
QString languageFor(const QString &locale) {
    return languagesForTexts({languageOfLocale(locale)}).first();
}

QString languageOf(const Feed &feed) {
    return feed ? feed->value(OlvNewsFeedChannelLanguageKeyName).toString() : QString();
}

/// Reads `text` as a user of `locale` would.
Feed parse(const QString &text, const QString &locale, std::optional<Error> &error) {
    Error parseError;
    Feed feed = OlvNewsParser(locale).parse(text, &parseError);
    if (!parseError.domain.isEmpty())
        error = parseError;
    return feed;
}

/// What came of one look at the feed.
struct Result {
    QString name;
    QByteArray output;
    /// Whether the panel takes the feed, and nothing is wrong with it that counts.
    bool isAccepted = false;
    FeedPreview preview;
    std::vector<Finding> findings;
};

Result check(const CommandLine &line) {
    // With --locale, assume a user who has set only that locale.
    const QString language =
        line.locale() ? languageFor(*line.locale()) : preferredLanguages().first();
    FeedReader reader{line.locale() ? DateFormatter::localeIdentifier(language, *line.locale())
                                    : DateFormatter::userLocaleIdentifier(),
                      line.locale() ? language : QString()};

    const FeedSource source = readFeed(line.feed(), language);
    const QString text = source.body ? FeedDownload::text(*source.body) : QString();
    std::optional<Error> error = source.error;
    Feed feed = parse(text, reader.locale, error);
    // The result must not depend on who checks the feed.
    const QString feedLanguage = languageOf(feed);
    if (!line.locale() && FeedReaders::isKnownLanguage(feedLanguage)) {
        reader.locale = DateFormatter::localeIdentifier(feedLanguage, feedLanguage);
        feed = parse(text, reader.locale, error);
    }

    FeedPreview preview(feed);
    std::vector<Finding> findings = judgeFeed(source, text, feed, preview, reader);
    const QByteArray output = line.json()
                                  ? jsonOutput(feedLanguage, preview.items(), error, findings)
                                  : feedReport(source, feed, preview, reader.locale, findings,
                                               TerminalColors::ofStandardOutput())
                                        .toUtf8();
    const bool isAccepted = feed && (findings.empty() || !line.strict());
    return {source.name, output, isAccepted, std::move(preview), std::move(findings)};
}

void tell(const QString &text) {
    std::fprintf(stderr, "pelorin-feedcheck: %s\n", qUtf8Printable(text));
}

/// Pictures the items. Returns false, and tells why, if that fails; also if the feed changes
/// meanwhile, which needs no words.
bool takePictures(const CommandLine &line, const Result &result, const PictureFolder &folder,
                  const std::function<bool()> &hasChanged) {
    const std::size_t all = result.preview.items().size();
    if (all == 0) {
        tell(QStringLiteral("no items, so no pictures"));
        return false;
    }
    PictureRun run(result.preview.items(), folder, line.pageSize());
    const QString some = run.itemCount() < all
                             ? QStringLiteral("the first %1 of %2").arg(run.itemCount()).arg(all)
                             : QString::number(all);
    tell(QStringLiteral("taking %1 pictures of %2 item%3")
             .arg(run.itemCount() * PictureRun::picturesPerItem())
             .arg(some, all == 1 ? QString() : QStringLiteral("s")));
    // Written first: what is in the folder counts as ours from now on.
    QString problem = folder.writeSheet(unfinishedSheet(result.name));
    if (problem.isNull() && !run.take(hasChanged)) {
        problem = run.problem();
        if (problem.isNull())
            return false;
    }
    if (problem.isNull()) {
        folder.removeOthers(run.names());
        problem = folder.writeSheet(
            contactSheet(result.name, result.preview, result.findings, run, line.pageSize()));
    }
    if (!problem.isNull()) {
        tell(problem);
        return false;
    }
    if (const QString missing = run.webProblem(); !missing.isNull())
        tell(QStringLiteral("pictures of the text renderer only: ") + missing);
    tell(QStringLiteral("see ") + folder.sheetPath());
    return true;
}

bool checkOnce(const CommandLine &line, const std::optional<PictureFolder> &folder,
               const std::function<bool()> &hasChanged) {
    const Result result = check(line);
    const bool isPrinted = print(result.output);
    const bool arePicturesTaken = !folder || takePictures(line, result, *folder, hasChanged);
    return isPrinted && result.isAccepted && arePicturesTaken;
}

int run(const CommandLine &line) {
    std::optional<PictureFolder> folder;
    if (!line.pictures().isNull()) {
        folder.emplace(line.pictures());
        if (!folder->problem().isNull()) {
            tell(folder->problem());
            return BadUsage;
        }
    }
    if (!line.watches())
        return checkOnce(line, folder, [] { return false; }) ? HasResult : NoResult;
    FileWatch watch(line.feed());
    while (true) {
        checkOnce(line, folder, [&watch] { return watch.hasChanged(); });
        watch.waitForChange();
        print("\n");
    }
}

}  // namespace

int main(int argc, char *argv[]) {
    const QCoreApplication application(argc, argv);
    const CommandLine line(QCoreApplication::arguments());
    if (!line.mistake().isNull())
        return usage(line.mistake());
    switch (line.wish()) {
        case CommandLine::Wish::Help:
            return print(line.help().toUtf8() + '\n') ? HasResult : NoResult;
        case CommandLine::Wish::Version:
            return print("pelorin-feedcheck " PELORIN_VERSION "\n") ? HasResult : NoResult;
        case CommandLine::Wish::ListFindings:
            return print(findingList()) ? HasResult : NoResult;
        case CommandLine::Wish::Explain:
            return explain(line.finding());
        case CommandLine::Wish::Check:
            break;
    }
    return run(line);
}
