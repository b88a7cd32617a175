#include "FeedReport.h"
#include "FeedSource.h"
#include "JsonOutput.h"
#include "feed/FeedDownload.h"
#include "feed/OlvNewsParser.h"
#include "platform/DateFormatter.h"
#include "platform/PreferredLanguages.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QRegularExpression>

#include <cstdio>

using namespace pelorinnews;

namespace {

// Unscoped, because `main` returns a number.
enum ExitCode { HasResult = 0, NoResult = 1, BadUsage = 2 };

int usage(const QString &message) {
    std::fprintf(stderr, "pelorin-feedcheck: %s\nTry --help.\n", qUtf8Printable(message));
    return BadUsage;
}

/// The language that a user of `locale` prefers: "de-DE" for "de_DE.UTF-8".
QString languageFor(const QString &locale) {
    return languagesForTexts({languageOfLocale(locale)}).first();
}

bool print(const QByteArray &bytes) {
    const auto size = static_cast<size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
}

}  // namespace

int main(int argc, char *argv[]) {
    const QCoreApplication application(argc, argv);
    QCommandLineParser line;
    line.setApplicationDescription(QStringLiteral(
        "Reads a news feed as the news panel would and tells what it makes of it.\n\n"
        "Exit code: 0 when the panel takes the feed, 1 when it does not, 2 for wrong usage."));
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this."));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Prints the result as JSON."));
    const QCommandLineOption localeOption(
        QStringLiteral("locale"),
        QStringLiteral("Reads dates, and asks for news, as a user of LOCALE would (\"de_DE\"). "
                       "Default: yours."),
        QStringLiteral("LOCALE"));
    line.addOptions({help, json, localeOption});
    line.addPositionalArgument(
        QStringLiteral("FEED"),
        QStringLiteral("A file, \"-\" for standard input, or an http, https or file address. The "
                       "address of a feed service is asked as the panel asks it."));
    if (!line.parse(QCoreApplication::arguments()))
        return usage(line.errorText());
    if (line.isSet(help))
        return print(line.helpText().toUtf8() + '\n') ? HasResult : NoResult;
    const QStringList arguments = line.positionalArguments();
    if (arguments.size() != 1 || arguments.first().isEmpty())
        return usage(QStringLiteral("one feed is needed"));
    if (line.isSet(localeOption)) {
        static const QRegularExpression form(
            QStringLiteral("^(C|POSIX|[A-Za-z]{2,8}([_-][A-Za-z0-9]{1,8})*)"
                           "(\\.[A-Za-z0-9-]+)?(@[A-Za-z]+)?$"));
        if (!form.match(line.value(localeOption)).hasMatch())
            return usage(QStringLiteral("no locale: ") + line.value(localeOption));
    }
    // With --locale, assume a user who has set only that locale.
    const QString given = line.value(localeOption);
    const QString language =
        line.isSet(localeOption) ? languageFor(given) : preferredLanguages().first();
    const QString locale = line.isSet(localeOption)
                               ? DateFormatter::localeIdentifier(language, given)
                               : DateFormatter::userLocaleIdentifier();

    const FeedSource source = readFeed(arguments.first(), language);
    const QString text = source.body ? FeedDownload::text(*source.body) : QString();
    std::optional<Error> error = source.error;
    Error parseError;
    const std::optional<QVariantMap> feed = OlvNewsParser(locale).parse(text, &parseError);
    if (!parseError.domain.isEmpty())
        error = parseError;

    bool printed = false;
    if (line.isSet(json)) {
        const QString feedLanguage =
            feed ? feed->value(OlvNewsFeedChannelLanguageKeyName).toString() : QString();
        const auto items = feed ? feed->value(OlvNewsFeedNewsCacheItemsKeyName)
                                      .value<std::shared_ptr<OlvNewsItemList>>()
                                : std::make_shared<OlvNewsItemList>();
        printed = print(jsonOutput(feedLanguage, *items, error));
    } else {
        printed = print(feedReport(source, text, feed, locale).toUtf8());
    }
    return feed && printed ? HasResult : NoResult;
}
