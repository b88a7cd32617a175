#include "CommandLine.h"
#include "FeedJudge.h"
#include "FeedReaders.h"
#include "FeedReport.h"
#include "FeedSource.h"
#include "JsonOutput.h"
#include "feed/FeedDownload.h"
#include "feed/OlvNewsParser.h"
#include "platform/DateFormatter.h"
#include "platform/PreferredLanguages.h"

#include <QCoreApplication>

#include <cstdio>

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

int check(const CommandLine &line) {
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
    // An editor who checks a feed in another language is none of its readers.
    const QString feedLanguage = languageOf(feed);
    if (!line.locale() && FeedReaders::isKnownLanguage(feedLanguage) &&
        !FeedReaders::matches(language, feedLanguage)) {
        reader.locale = DateFormatter::localeIdentifier(feedLanguage, feedLanguage);
        feed = parse(text, reader.locale, error);
    }

    const FeedPreview preview(feed);
    const std::vector<Finding> findings = judgeFeed(source, text, feed, preview, reader);
    const QByteArray output = line.json()
                                  ? jsonOutput(feedLanguage, preview.items(), error, findings)
                                  : feedReport(source, feed, preview, reader.locale, findings,
                                               TerminalColors::ofStandardOutput())
                                        .toUtf8();
    const bool accepted = feed && (findings.empty() || !line.strict());
    return print(output) && accepted ? HasResult : NoResult;
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
        case CommandLine::Wish::Check:
            break;
    }
    return check(line);
}
