#include "PopUps.h"

#include <QProcess>

namespace pelorinnews::test::PopUps {

namespace {

QStringList lines(const QStringList &arguments) {
    QProcess process;
    // xdotool complains about windows that were closed in the meantime.
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QStringLiteral("xdotool"), arguments);
    process.waitForFinished(testPatience);
    return QString::fromUtf8(process.readAllStandardOutput())
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

}  // namespace

QStringList ofClass(const QString &windowClass) {
    return lines({QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                  QStringLiteral("--class"), windowClass});
}

QStringList active() {
    return lines({QStringLiteral("getactivewindow")});
}

void click(const QString &window, int x, int y) {
    int width = 0;
    int height = 0;
    const auto geometry =
        lines({QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), window});
    for (const QString &line : geometry) {
        if (line.startsWith(QLatin1String("WIDTH=")))
            width = line.mid(6).toInt();
        else if (line.startsWith(QLatin1String("HEIGHT=")))
            height = line.mid(7).toInt();
    }
    if (width == 0 || height == 0)
        return;
    // Some toolkits accept a click only after the pointer has come to rest.
    lines({QStringLiteral("mousemove"), QStringLiteral("--window"), window,
           QString::number(x < 0 ? width + x : x), QString::number(y < 0 ? height + y : y),
           QStringLiteral("sleep"), QStringLiteral("0.2"), QStringLiteral("click"),
           QStringLiteral("1")});
}

}  // namespace pelorinnews::test::PopUps
