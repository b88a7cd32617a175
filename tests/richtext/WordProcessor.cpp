#include "WordProcessor.h"

#include "OpenDocumentOutline.h"
#include "Patience.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

namespace pelorinnews::test {

namespace {

QByteArray contentsOf(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Converts the files `paths` to flat OpenDocument texts in `folder`. Empty, or what went wrong.
QByteArray convert(const QStringList &paths, const QTemporaryDir &folder) {
    const QString office = QStandardPaths::findExecutable(QStringLiteral("soffice"));
    if (office.isEmpty())
        return "LibreOffice Writer is needed to read the rich text";
    const QString profile =
        QUrl::fromLocalFile(folder.filePath(QStringLiteral("profile"))).toString();
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(office,
                  QStringList{QStringLiteral("-env:UserInstallation=") + profile,
                              QStringLiteral("--headless"), QStringLiteral("--convert-to"),
                              QStringLiteral("fodt"), QStringLiteral("--outdir"), folder.path()} +
                      paths);
    // A page takes a tenth of a second on a quiet computer.
    const int patience = 2 * testPatience + static_cast<int>(paths.size()) * 1000;
    const bool finished = process.waitForFinished(patience);
    if (!finished) {
        process.terminate();
        if (!process.waitForFinished(testPatience))
            process.kill();
        process.waitForFinished(testPatience);
    }
    if (finished && process.exitCode() == 0)
        return {};
    return "LibreOffice did not convert: " + process.readAll();
}

}  // namespace

QMap<QString, QString> wordProcessorOutlines(const QMap<QString, QByteArray> &copies) {
    const QTemporaryDir folder;
    QStringList paths;
    for (auto copy = copies.begin(); copy != copies.end(); ++copy) {
        QFile file(folder.filePath(copy.key() + QStringLiteral(".rtf")));
        if (!file.open(QIODevice::WriteOnly) || file.write(copy.value()) != copy.value().size()) {
            QTest::qFail(qPrintable(file.errorString()), __FILE__, __LINE__);
            return {};
        }
        paths += file.fileName();
    }
    // LibreOffice 7.4 converts only 247 files in one run, and says nothing about the others.
    constexpr qsizetype filesInOneRun = 200;
    for (qsizetype i = 0; i < paths.size(); i += filesInOneRun) {
        const QByteArray problem = convert(paths.mid(i, filesInOneRun), folder);
        if (!problem.isEmpty()) {
            QTest::qFail(problem.constData(), __FILE__, __LINE__);
            return {};
        }
    }
    QMap<QString, QString> outlines;
    for (const QString &name : copies.keys())
        outlines.insert(name, OpenDocumentOutline::of(
                                  contentsOf(folder.filePath(name + QStringLiteral(".fodt")))));
    return outlines;
}

}  // namespace pelorinnews::test
