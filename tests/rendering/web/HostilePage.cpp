#include "HostilePage.h"

#include "RendererFixture.h"

#include <QFile>
#include <QRegularExpression>

namespace pelorinnews::test {

namespace {

QString contentOf(const QString &path) {
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    return QString::fromUtf8(file.readAll());
}

QString filledIn(QString text, const QMap<QString, QString> &addresses) {
    for (auto each = addresses.begin(); each != addresses.end(); ++each)
        text.replace(QLatin1Char('{') + each.key() + QLatin1Char('}'), each.value());
    static const QRegularExpression repeat(QStringLiteral(R"(\{repeat (\d+)\|([^{}]*)\})"));
    static const QRegularExpression character(QStringLiteral(R"(\{char ([0-9A-F]+)\})"));
    for (auto found = repeat.match(text); found.hasMatch(); found = repeat.match(text))
        text.replace(found.capturedStart(), found.capturedLength(),
                     found.captured(2).repeated(found.captured(1).toInt()));
    for (auto found = character.match(text); found.hasMatch(); found = character.match(text))
        text.replace(found.capturedStart(), found.capturedLength(),
                     QChar(found.captured(1).toUShort(nullptr, 16)));
    return text;
}

}  // namespace

HostilePage HostilePage::read(const QString &folder, const QString &name, Painter painter,
                              const QMap<QString, QString> &addresses) {
    HostilePage page;
    page.html =
        filledIn(contentOf(folder + QLatin1Char('/') + name + QStringLiteral(".html")), addresses);
    const QString expected = filledIn(
        contentOf(folder + QLatin1Char('/') + name + QStringLiteral(".expected")), addresses);
    const QString other = painter == Painter::Web ? QStringLiteral("text") : QStringLiteral("web");
    for (const QString &line : expected.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const bool oneSided =
            line.startsWith(QStringLiteral("web ")) || line.startsWith(QStringLiteral("text "));
        if (line.startsWith(other + QLatin1Char(' ')))
            continue;
        const QString rest = oneSided ? line.section(QLatin1Char(' '), 1) : line;
        const QString word = rest.section(QLatin1Char(' '), 0, 0);
        const QString value = rest.section(QLatin1Char(' '), 1);
        if (word == QStringLiteral("click"))
            page.click = true;
        else if (word == QStringLiteral("opens-list"))
            page.opensList = true;
        else if (word == QStringLiteral("silent"))
            page.silent = true;
        else if (word == QStringLiteral("download"))
            ++page.downloads;
        else if (word == QStringLiteral("hangs"))
            page.hangs = true;
        else if (word == QStringLiteral("shows"))
            page.shows.append(value);
        else if (word == QStringLiteral("hides"))
            page.hides.append(value);
        else if (word == QStringLiteral("never"))
            page.never.append(QColor(value));
        else if (word == QStringLiteral("requests"))
            page.requests.append(value);
        else if (word == QStringLiteral("asks"))
            page.asks.append(value);
        else if (word == QStringLiteral("keeps-asking"))
            page.keepsAsking = value;
        else
            qFatal("%s: unknown line \"%s\"", qPrintable(name), qPrintable(line));
    }
    page.requests.sort();
    page.asks.sort();
    return page;
}

}  // namespace pelorinnews::test
