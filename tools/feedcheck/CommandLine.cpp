#include "CommandLine.h"

#include "FeedReaders.h"
#include "FeedSource.h"

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

/// "576x376"; absent for another text, or for a page that nobody has.
std::optional<QSize> pageSizeOf(const QString &text) {
    static const QRegularExpression form(QStringLiteral("^(\\d{2,4})x(\\d{2,4})$"));
    constexpr int least = 100;
    constexpr int greatest = 4000;
    const auto match = form.match(text);
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    const bool fits = size.expandedTo({least, least}).boundedTo({greatest, greatest}) == size;
    return match.hasMatch() && fits ? std::optional(size) : std::nullopt;
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
    const QCommandLineOption explain(
        QStringLiteral("explain"),
        QStringLiteral("Explains the finding NAME, and what to do about it."),
        QStringLiteral("NAME"));
    const QCommandLineOption locale(
        QStringLiteral("locale"),
        QStringLiteral("Reads dates, and asks for news, as a user of LOCALE would (\"de_DE\"). "
                       "Default: checks for all readers of the feed's language."),
        QStringLiteral("LOCALE"));
    const QCommandLineOption pictures(
        QStringLiteral("pictures"),
        QStringLiteral("Pictures all items as the panel shows them, with both renderers, on light "
                       "and dark desktops, at 100 and 200 %, and writes the pictures and a page "
                       "that shows them, index.html, into the folder DIR."),
        QStringLiteral("DIR"));
    const QCommandLineOption pageSize(
        QStringLiteral("page-size"),
        QStringLiteral("The size of the pages in pictures. Default: 576x376, as in the panel's "
                       "window when it is first shown."),
        QStringLiteral("WxH"));
    const QCommandLineOption watch(
        QStringLiteral("watch"),
        QStringLiteral("Checks the file again whenever it changes, until it is interrupted."));
    line.addOptions(
        {help, version, json, strict, locale, list, explain, pictures, pageSize, watch});
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
    else if (line.isSet(explain))
        _wish = Wish::Explain;
    _finding = line.value(explain);
    if (_wish != Wish::Check)
        return;
    const QStringList feeds = line.positionalArguments();
    if (feeds.size() != 1 || feeds.first().isEmpty()) {
        _mistake = QStringLiteral("one feed is needed");
        return;
    }
    _feed = feeds.first();
    _pictures = line.value(pictures);
    _watches = line.isSet(watch);
    if (line.isSet(pictures) && _pictures.isEmpty()) {
        _mistake = QStringLiteral("--pictures needs a folder");
    } else if (_watches && !isFile(_feed)) {
        _mistake = QStringLiteral("--watch needs a file");
    } else if (line.isSet(pageSize)) {
        const auto size = pageSizeOf(line.value(pageSize));
        _pageSize = size.value_or(_pageSize);
        if (_pictures.isNull())
            _mistake = QStringLiteral("--page-size needs --pictures");
        else if (!size)
            _mistake = QStringLiteral(
                           "no page size: %1 (width and height between 100 and 4000, "
                           "as in 576x376)")
                           .arg(line.value(pageSize));
    }
    if (!_mistake.isNull())
        return;
    if (line.isSet(locale)) {
        _locale = line.value(locale);
        _mistake = localeMistake(*_locale);
    }
}

}  // namespace pelorinnews
