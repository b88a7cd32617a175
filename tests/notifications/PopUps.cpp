#include "PopUps.h"

#include <QProcess>
#include <QTest>

#include <optional>

namespace pelorinnews::test::PopUps {

namespace {

// The lines that xdotool prints; nothing if it fails because a window was destroyed while xdotool
// looked at it.
std::optional<QStringList> tryLines(const QStringList &arguments) {
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    process.waitForFinished(testPatience);
    if (process.readAllStandardError().contains("X Error of failed request"))
        return std::nullopt;
    return QString::fromUtf8(process.readAllStandardOutput())
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QStringList lines(const QStringList &arguments) {
    return tryLines(arguments).value_or(QStringList());
}

}  // namespace

QStringList ofClass(const QString &windowClass) {
    // A search looks at all windows, so one of another class may make it fail.
    std::optional<QStringList> found;
    const auto search = [&] {
        found = tryLines({QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                          QStringLiteral("--class"), windowClass});
        return found.has_value();
    };
    if (!QTest::qWaitFor(search, testPatience))
        return {};
    return *found;
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
