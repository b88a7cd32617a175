#include "Explanation.h"

#include "FindingKind.h"

#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <vector>

namespace pelorinnews {

QString explanationOf(const QString &name) {
    QFile guide(QStringLiteral(":/feedcheck.md"));
    const std::vector<FindingKind> kinds = allFindingKinds();
    const bool isKnown = std::any_of(kinds.begin(), kinds.end(),
                                     [&name](FindingKind kind) { return nameOf(kind) == name; });
    if (!isKnown || !guide.open(QFile::ReadOnly))
        return {};
    const QString text = QString::fromUtf8(guide.readAll());
    const QString heading = QStringLiteral("\n### %1\n").arg(name);
    const qsizetype start = text.indexOf(heading);
    if (start < 0)
        return {};
    static const QRegularExpression nextHeading(QStringLiteral("^##+ "),
                                                QRegularExpression::MultilineOption);
    const qsizetype body = start + heading.size();
    const qsizetype end = text.indexOf(nextHeading, body);
    // A terminal shows neither links nor code.
    static const QRegularExpression link(QStringLiteral("\\[([^\\]]*)\\]\\(([^()#]*)[^()]*\\)"));
    QString explanation = text.sliced(body, (end < 0 ? text.size() : end) - body).trimmed();
    explanation.replace(link, QStringLiteral("\\1"));
    return explanation.remove(u'`') + u'\n';
}

}  // namespace pelorinnews
