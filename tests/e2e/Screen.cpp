#include "Screen.h"

#include "Program.h"

#include <QProcess>
#include <QRegularExpression>

namespace pelorinnews::test::Screen {

namespace {

QByteArray xdotool(const QStringList &arguments) {
    return outputOf(QStringLiteral("xdotool"), arguments);
}

/// The values of a window's properties, as xprop prints them.
QStringList properties(const QStringList &which, const QStringList &names) {
    const QString told = QString::fromUtf8(outputOf(QStringLiteral("xprop"), which + names));
    static const QRegularExpression value(QStringLiteral("(?:=|#) *(.*)$"));
    QStringList values;
    for (const QString &line : told.split(QLatin1Char('\n')))
        values.append(value.match(line).captured(1));
    return values;
}

QString property(const QStringList &which, const char *name) {
    return properties(which, {QLatin1String(name)}).first();
}

}  // namespace

QString window(qint64 process, const QString &title) {
    // Ask the window manager: a search through all windows fails if any of them closes meanwhile.
    const QString all = property({QStringLiteral("-root")}, "_NET_CLIENT_LIST");
    const QStringList wanted{QString::number(process), QLatin1Char('"') + title + QLatin1Char('"')};
    for (const QString &each : all.split(QStringLiteral(", "), Qt::SkipEmptyParts)) {
        if (properties({QStringLiteral("-id"), each},
                       {QStringLiteral("_NET_WM_PID"), QStringLiteral("_NET_WM_NAME")}) == wanted)
            return each;
    }
    return {};
}

QString activeTitle() {
    return QString::fromUtf8(
        xdotool({QStringLiteral("getactivewindow"), QStringLiteral("getwindowname")}));
}

QRect geometry(const QString &window) {
    const QString told =
        QString::fromUtf8(outputOf(QStringLiteral("xwininfo"), {QStringLiteral("-id"), window}));
    const auto number = [&told](const char *name) {
        static const QString pattern = QStringLiteral("%1: +(-?\\d+)");
        return QRegularExpression(pattern.arg(QLatin1String(name))).match(told).captured(1).toInt();
    };
    return {number("Absolute upper-left X"), number("Absolute upper-left Y"), number("Width"),
            number("Height")};
}

QMargins frame(const QString &window) {
    const QStringList sides =
        property({QStringLiteral("-id"), window}, "_NET_FRAME_EXTENTS").split(QLatin1Char(','));
    if (sides.size() != 4)
        return {};
    const auto side = [&sides](int index) { return sides[index].trimmed().toInt(); };
    return {side(0), side(2), side(1), side(3)};
}

QByteArray colour(const QString &window, QPoint pixel) {
    const QString format = QStringLiteral("%[hex:p{%1,%2}]").arg(pixel.x()).arg(pixel.y());
    return outputOf(
               QStringLiteral("import"),
               {QStringLiteral("-window"), window, QStringLiteral("-depth"), QStringLiteral("8"),
                QStringLiteral("-format"), format, QStringLiteral("info:-")})
        .left(6);
}

int colours(const QString &window, const QRect &part) {
    const QString crop = QStringLiteral("%1x%2+%3+%4")
                             .arg(part.width())
                             .arg(part.height())
                             .arg(part.x())
                             .arg(part.y());
    return outputOf(QStringLiteral("import"),
                    {QStringLiteral("-window"), window, QStringLiteral("-crop"), crop,
                     QStringLiteral("-format"), QStringLiteral("%k"), QStringLiteral("info:-")})
        .toInt();
}

void resize(const QString &window, QSize size) {
    xdotool({QStringLiteral("windowsize"), window, QString::number(size.width()),
             QString::number(size.height())});
}

void activate(const QString &window) {
    xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), window});
}

void click(QPoint place) {
    xdotool({QStringLiteral("mousemove"), QString::number(place.x()), QString::number(place.y()),
             QStringLiteral("click"), QStringLiteral("1")});
}

void drag(QPoint from, QPoint to) {
    // The pointer moves in steps, as by hand: some programs treat a jump with the button down as a
    // click.
    QStringList steps{QStringLiteral("mousemove"), QString::number(from.x()),
                      QString::number(from.y()), QStringLiteral("mousedown"), QStringLiteral("1")};
    for (int step = 1; step <= 4; ++step) {
        const QPoint place = from + (to - from) * step / 4;
        steps << QStringLiteral("sleep") << QStringLiteral("0.1") << QStringLiteral("mousemove")
              << QString::number(place.x()) << QString::number(place.y());
    }
    xdotool(steps << QStringLiteral("mouseup") << QStringLiteral("1"));
}

void press(const QString &window, const QStringList &keys) {
    xdotool(QStringList{QStringLiteral("windowactivate"), QStringLiteral("--sync"), window,
                        QStringLiteral("key")} +
            keys);
}

void press(const QString &key) {
    xdotool({QStringLiteral("key"), key});
}

QByteArray clipboard(const QString &format) {
    return outputOf(QStringLiteral("xclip"),
                    {QStringLiteral("-selection"), QStringLiteral("clipboard"),
                     QStringLiteral("-o"), QStringLiteral("-t"), format});
}

void clearClipboard() {
    // xclip keeps running, to serve the empty text, until another program takes the clipboard.
    QProcess::execute(QStringLiteral("xclip"),
                      {QStringLiteral("-selection"), QStringLiteral("clipboard"),
                       QStringLiteral("-i"), QStringLiteral("/dev/null")});
}

}  // namespace pelorinnews::test::Screen
