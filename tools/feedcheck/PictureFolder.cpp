#include "PictureFolder.h"

#include "platform/FileReplacement.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace pelorinnews {

namespace {

constexpr auto sheetName = "index.html";
/// The mark is in the first lines.
constexpr qint64 maxHead = 1000;

bool isPictureName(const QString &name) {
    static const QRegularExpression form(
        QStringLiteral("^item-\\d{3}-(web|text)-(light|dark)-(100|200)\\.png$"));
    return form.match(name).hasMatch();
}

QStringList picturesIn(const QDir &folder) {
    QStringList names =
        folder.entryList({QStringLiteral("item-*.png")}, QDir::Files | QDir::System | QDir::Hidden);
    names.removeIf([](const QString &name) { return !isPictureName(name); });
    return names;
}

bool isOurSheet(const QString &path) {
    QFile file(path);
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) &&
           file.read(maxHead).contains(sheetMark().toUtf8());
}

}  // namespace

QString sheetMark() {
    return QStringLiteral("<meta name=\"generator\" content=\"pelorin-feedcheck --pictures\">");
}

QString pictureName(std::size_t item, PictureRenderer renderer, PictureLook look) {
    return QStringLiteral("item-%1-%2-%3-%4.png")
        .arg(item, 3, 10, QLatin1Char('0'))
        .arg(renderer == PictureRenderer::Web ? QLatin1String("web") : QLatin1String("text"))
        .arg(look.isDark ? QLatin1String("dark") : QLatin1String("light"))
        .arg(look.percent);
}

PictureFolder::PictureFolder(const QString &path) : _path(QDir(path).absolutePath()) {
    const QDir folder(_path);
    if (!QDir().mkpath(_path) || !QFileInfo(_path).isDir()) {
        _problem = QStringLiteral("%1: the folder cannot be made").arg(path);
        return;
    }
    if (!QFileInfo(_path).isWritable()) {
        _problem = QStringLiteral("%1: the folder cannot be written to").arg(path);
        return;
    }
    if (isOurSheet(sheetPath()))
        return;
    // A broken link exists, too.
    const QFileInfo sheet(sheetPath());
    if (sheet.exists() || sheet.isSymLink())
        _problem = QStringLiteral("%1 is not from pelorin-feedcheck: name another folder")
                       .arg(folder.filePath(QLatin1String(sheetName)));
    else if (const QStringList names = picturesIn(folder); !names.isEmpty())
        _problem = QStringLiteral("%1 may not be from pelorin-feedcheck: name another folder")
                       .arg(folder.filePath(names.first()));
}

QString PictureFolder::pathOf(const QString &name) const {
    return QDir(_path).filePath(name);
}

QString PictureFolder::sheetPath() const {
    return pathOf(QLatin1String(sheetName));
}

QString PictureFolder::writeSheet(const QString &html) const {
    FileReplacement file(sheetPath());
    if (file.write(html.toUtf8()) && file.commit())
        return {};
    return sheetPath() + QStringLiteral(": ") + file.error()->description();
}

void PictureFolder::removeOthers(const QSet<QString> &kept) const {
    QDir folder(_path);
    for (const QString &name : picturesIn(folder)) {
        if (!kept.contains(name))
            folder.remove(name);
    }
}

}  // namespace pelorinnews
