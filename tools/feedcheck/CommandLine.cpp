#include "CommandLine.h"

#include "FeedReaders.h"

#include <QCommandLineParser>
#include <QRegularExpression>

namespace pelorinnews {

namespace {

QString localeMistake(const QString &locale) {
    static const QRegularExpression form(
        QStringLiteral("^(C|POSIX|[A-Za-z]{2,8}([_-][A-Za-z0-9]{1,8})*)"
                       "(\\.[A-Za-z0-9-]+)?(@[A-Za-z]+)?$"));
    if (!form.match(locale).hasMatch())
        return QStringLiteral("no locale: ") + locale;
    if (!FeedReaders::isKnownLocale(locale))
        return QStringLiteral("unknown locale: %1 (language and region, as in de_DE)").arg(locale);
    return {};
}

}  // namespace

CommandLine::CommandLine(const QStringList &arguments) {
    QCommandLineParser line;
    line.setApplicationDescription(QStringLiteral(
        "Reads a news feed as the news panel would and tells what it makes of it.\n\n"
        "Exit code: 0 when the panel takes the feed, 1 when it does not, 2 for wrong usage."));
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this."));
    const QCommandLineOption version(QStringLiteral("version"),
                                     QStringLiteral("Shows the version."));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Prints the result as JSON."));
    const QCommandLineOption strict(QStringLiteral("strict"),
                                    QStringLiteral("Exits with 1 on any finding."));
    const QCommandLineOption list(
        QStringLiteral("list-findings"),
        QStringLiteral("Lists the names of all possible findings, each with its severity."));
    const QCommandLineOption locale(
        QStringLiteral("locale"),
        QStringLiteral("Reads dates, and asks for news, as a user of LOCALE would (\"de_DE\"). "
                       "Default: checks for all readers of the feed's language."),
        QStringLiteral("LOCALE"));
    line.addOptions({help, version, json, strict, locale, list});
    line.addPositionalArgument(
        QStringLiteral("FEED"),
        QStringLiteral("A file, \"-\" for standard input, or an http, https or file address. The "
                       "address of a feed service is asked as the panel asks it."));
    if (!line.parse(arguments)) {
        _mistake = line.errorText();
        return;
    }
    _help = line.helpText();
    _json = line.isSet(json);
    _strict = line.isSet(strict);
    if (line.isSet(help))
        _wish = Wish::Help;
    else if (line.isSet(version))
        _wish = Wish::Version;
    else if (line.isSet(list))
        _wish = Wish::ListFindings;
    if (_wish != Wish::Check)
        return;
    const QStringList feeds = line.positionalArguments();
    if (feeds.size() != 1 || feeds.first().isEmpty()) {
        _mistake = QStringLiteral("one feed is needed");
        return;
    }
    _feed = feeds.first();
    if (line.isSet(locale)) {
        _locale = line.value(locale);
        _mistake = localeMistake(*_locale);
    }
}

}  // namespace pelorinnews
