// Takes pictures of pages for pelorin-feedcheck. Reads requests from standard input and writes an
// answer to each to standard output, one JSON object a line:
//
//   {"html": "<p>Text", "timeout": 10000, "web": "/folder/1.png", "text": "/folder/2.png"}
//   {"web": "complete"}
//
// "web" in an answer is "complete", "timed-out" (the page was still loading after `timeout`
// milliseconds) or "absent" (the web renderer cannot show the page; no picture of it). An answer
// with "error" says which file could not be written.

#include "ItemCamera.h"
#include "platform/FileReplacement.h"

#include <QApplication>
#include <QBuffer>
#include <QCommandLineParser>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPalette>

#include <cstdio>

using namespace pelorinnews;

namespace {

constexpr int badUsage = 2;

void useDarkColours() {
    QPalette palette(QColor(0x35, 0x35, 0x35));
    palette.setColor(QPalette::Base, QColor(0x24, 0x24, 0x24));
    palette.setColor(QPalette::Link, QColor(0x78, 0xae, 0xed));
    QApplication::setPalette(palette);
}

/// Writes `image` as a PNG file. The reason if that fails, else null.
QString save(const QImage &image, const QString &path) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "png"))
        return QStringLiteral("%1: the picture cannot be encoded").arg(path);
    FileReplacement file(path);
    if (file.write(bytes) && file.commit())
        return {};
    return path + QStringLiteral(": ") + file.error()->description();
}

QJsonObject answerTo(const QJsonObject &request, ItemCamera &camera) {
    const QString html = request.value(u"html").toString();
    const std::chrono::milliseconds timeout(request.value(u"timeout").toInt());
    const auto web = camera.takeWeb(html, timeout);
    QString state = QStringLiteral("absent");
    QString problem;
    if (web) {
        state = web->load == ItemCamera::Load::Complete ? QStringLiteral("complete")
                                                        : QStringLiteral("timed-out");
        problem = save(web->image, request.value(u"web").toString());
    }
    if (problem.isNull())
        problem = save(camera.takeText(html), request.value(u"text").toString());
    QJsonObject answer{{QStringLiteral("web"), state}};
    if (!problem.isNull())
        answer.insert(QStringLiteral("error"), problem);
    return answer;
}

bool print(const QByteArray &line) {
    const auto size = static_cast<size_t>(line.size());
    return std::fwrite(line.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
}

}  // namespace

int main(int argc, char *argv[]) {
    const QApplication application(argc, argv);
    QCommandLineParser line;
    const QCommandLineOption width(QStringLiteral("width"), {}, QStringLiteral("PIXELS"));
    const QCommandLineOption height(QStringLiteral("height"), {}, QStringLiteral("PIXELS"));
    const QCommandLineOption dark(QStringLiteral("dark"));
    line.addOptions({width, height, dark});
    const QSize size = line.parse(QCoreApplication::arguments())
                           ? QSize(line.value(width).toInt(), line.value(height).toInt())
                           : QSize();
    if (size.isEmpty()) {
        std::fputs("pelorin-news-pictures is started by pelorin-feedcheck --pictures\n", stderr);
        return badUsage;
    }
    if (line.isSet(dark))
        useDarkColours();

    ItemCamera camera(
        size, QCoreApplication::applicationDirPath() + QStringLiteral("/pelorin-news-page"));
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return 1;
    while (true) {
        const QByteArray request = input.readLine();
        if (request.isEmpty())
            return 0;
        const QJsonObject answer = answerTo(QJsonDocument::fromJson(request).object(), camera);
        if (!print(QJsonDocument(answer).toJson(QJsonDocument::Compact) + '\n'))
            return 1;
    }
}
