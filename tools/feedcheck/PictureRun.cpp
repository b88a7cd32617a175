#include "PictureRun.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <algorithm>
#include <csignal>
#include <optional>
#include <sys/prctl.h>
#include <unistd.h>

namespace pelorinnews {

namespace {

/// How long a page may load in the first look. One that takes longer gets less time in the others.
constexpr int loadMilliseconds = 10'000;
constexpr int impatientMilliseconds = 1'000;
/// The longest time without an answer: more than starting the engine, a load and both renderers
/// take, on a busy computer.
constexpr int answerMilliseconds = 120'000;
constexpr int pollMilliseconds = 100;

/// The folder of the module and of the programs that belong to it.
QString moduleFolder() {
    const QDir folder(QCoreApplication::applicationDirPath());
    const QString beside = folder.filePath(QStringLiteral("../lib/pelorin"));
    const QString installed = folder.filePath(QStringLiteral(PELORIN_INSTALLED_MODULE_FOLDER));
    const QString name = QStringLiteral("/pelorin-news-pictures");
    return QDir::cleanPath(QFileInfo::exists(beside + name) ? beside : installed);
}

/// The environment of a desktop of which nothing is known but the scale.
QProcessEnvironment environmentFor(PictureLook look) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name :
         {"QT_AUTO_SCREEN_SCALE_FACTOR", "QT_ENABLE_HIGHDPI_SCALING", "QT_FONT_DPI",
          "QT_QPA_PLATFORMTHEME", "QT_SCALE_FACTOR_ROUNDING_POLICY", "QT_SCREEN_SCALE_FACTORS",
          "QT_STYLE_OVERRIDE", "QT_USE_PHYSICAL_DPI"})
        environment.remove(QLatin1String(name));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    // Such as that there is no folder for run-time files.
    environment.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("*.warning=false"));
    environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QString::number(look.percent / 100.0));
    return environment;
}

WebPicture webPicture(const QString &state) {
    if (state == QLatin1String("complete"))
        return WebPicture::Complete;
    return state == QLatin1String("timed-out") ? WebPicture::TimedOut : WebPicture::Absent;
}

void start(QProcess &program, PictureLook look, QSize size) {
    program.setProgram(moduleFolder() + QStringLiteral("/pelorin-news-pictures"));
    program.setArguments({QStringLiteral("--width"), QString::number(size.width()),
                          QStringLiteral("--height"), QString::number(size.height())});
    if (look.isDark)
        program.setArguments(program.arguments() << QStringLiteral("--dark"));
    program.setProcessEnvironment(environmentFor(look));
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // Ends with this program, however that ends.
    program.setChildProcessModifier([parent = ::getpid()] {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
            ::_exit(1);
    });
    program.start();
}

/// Waits for an answer. Absent if the program ends before it, or `isStale` returns true.
std::optional<QJsonObject> answerOf(QProcess &program, const std::function<bool()> &isStale) {
    for (int waited = 0; waited < answerMilliseconds; waited += pollMilliseconds) {
        if (program.canReadLine())
            return QJsonDocument::fromJson(program.readLine()).object();
        if (program.state() == QProcess::NotRunning || isStale())
            return std::nullopt;
        program.waitForReadyRead(pollMilliseconds);
    }
    return std::nullopt;
}

}  // namespace

PictureRun::PictureRun(const OlvNewsItemList &items, const PictureFolder &folder, QSize size)
    : _items(items), _folder(folder), _size(size), _web(std::min(items.size(), maxItems)) {
    for (WebPictures &each : _web)
        each.fill(WebPicture::Absent);
}

bool PictureRun::take(const std::function<bool()> &isStale) {
    for (std::size_t look = 0; look < pictureLooks.size(); ++look) {
        if (takeLook(look, isStale) != End::Done)
            return false;
    }
    return true;
}

PictureRun::End PictureRun::takeLook(std::size_t look, const std::function<bool()> &isStale) {
    QProcess program;
    start(program, pictureLooks[look], _size);
    if (!program.waitForStarted()) {
        _problem = QStringLiteral("%1 cannot be started: %2")
                       .arg(program.program(), program.errorString());
        return End::Failed;
    }
    for (std::size_t item = 0; item < itemCount(); ++item) {
        const auto path = [&](PictureRenderer renderer) {
            return _folder.pathOf(pictureName(item + 1, renderer, pictureLooks[look]));
        };
        const bool isSlow = _web[item].front() == WebPicture::TimedOut;
        const QJsonObject request{
            {QStringLiteral("html"), _items[item]->htmlContent()},
            {QStringLiteral("timeout"), isSlow ? impatientMilliseconds : loadMilliseconds},
            {QStringLiteral("web"), path(PictureRenderer::Web)},
            {QStringLiteral("text"), path(PictureRenderer::Text)}};
        program.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
        const auto answer = answerOf(program, isStale);
        if (!answer && isStale()) {
            program.kill();
            program.waitForFinished();
            return End::Stale;
        }
        if (!answer || answer->contains(u"error")) {
            program.kill();
            program.waitForFinished();
            _problem = answer ? answer->value(u"error").toString()
                              : QStringLiteral("%1 failed at item %2")
                                    .arg(program.program(), QString::number(item + 1));
            return End::Failed;
        }
        _web[item][look] = webPicture(answer->value(u"web").toString());
    }
    program.closeWriteChannel();
    program.waitForFinished();
    return End::Done;
}

QString PictureRun::webProblem() const {
    const auto isShown = [](const WebPictures &pictures) {
        return std::any_of(pictures.begin(), pictures.end(),
                           [](WebPicture each) { return each != WebPicture::Absent; });
    };
    if (_web.empty() || std::any_of(_web.begin(), _web.end(), isShown))
        return {};
    const QString program = moduleFolder() + QStringLiteral("/pelorin-news-page");
    if (!QFileInfo(program).isExecutable())
        return QStringLiteral("there is no %1").arg(program);
    return QStringLiteral(
        "the web engine does not run here: it needs user namespaces, and does not run as root "
        "unless QTWEBENGINE_DISABLE_SANDBOX=1 is set");
}

QSet<QString> PictureRun::names() const {
    QSet<QString> names;
    for (std::size_t item = 0; item < itemCount(); ++item) {
        for (std::size_t look = 0; look < pictureLooks.size(); ++look) {
            if (_web[item][look] != WebPicture::Absent)
                names.insert(pictureName(item + 1, PictureRenderer::Web, pictureLooks[look]));
            names.insert(pictureName(item + 1, PictureRenderer::Text, pictureLooks[look]));
        }
    }
    return names;
}

}  // namespace pelorinnews
