// Malicious pages. None runs code, opens a window, reads a file, asks the user for anything or
// crashes the host; the file beside each page says what it may do.

#include "FeedServer.h"
#include "FileWatch.h"
#include "HostilePage.h"
#include "HostilePictures.h"
#include "PageServer.h"
#include "RendererFixture.h"
#include "TestAuthority.h"
#include "TestMain.h"
#include "richtext/RichTextWriter.h"

#include <QBuffer>
#include <QDataStream>
#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QWebEnginePage>
#include <QWindow>

#include <algorithm>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

const QString pages = QStringLiteral(PELORIN_TEST_DATA "/hostile");

QByteArray picture(const QColor &color) {
    QImage image(20, 20, QImage::Format_RGB32);
    image.fill(color);
    QBuffer buffer;
    image.save(&buffer, "PNG");
    return buffer.data();
}

// Half a second of a loud tone.
QByteArray sound() {
    constexpr quint32 rate = 8000;
    constexpr quint32 samples = rate / 2;
    QByteArray file;
    QDataStream stream(&file, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    const auto name = [&stream](const char *four) { stream.writeRawData(four, 4); };
    name("RIFF");
    stream << quint32(36 + samples);
    name("WAVE");
    name("fmt ");
    // Sixteen bytes of format: PCM, one channel, one byte a sample.
    stream << quint32(16) << quint16(1) << quint16(1) << rate << rate << quint16(1) << quint16(8);
    name("data");
    stream << samples;
    for (quint32 sample = 0; sample < samples; ++sample)
        stream << quint8(sample % 16 < 8 ? 0x10 : 0xf0);
    return file;
}

bool shows(const QImage &screen, const QColor &color) {
    for (int y = 0; y < screen.height(); ++y)
        for (int x = 0; x < screen.width(); ++x)
            if (screen.pixelColor(x, y) == color)
                return true;
    return false;
}

// What the engine's page does that the screen does not show: sound, downloads and requests for
// permissions, since this object was created.
class Doings final {
public:
    explicit Doings(const RendererFixture &fixture) : _fixture(fixture), _before(now()) {}

    [[nodiscard]] bool heard() const {
        return now()[u"heard"].toBool() && !_before[u"heard"].toBool();
    }
    [[nodiscard]] int downloads() const {
        return now()[u"downloads"].toInt() - _before[u"downloads"].toInt();
    }
    // Whether a download continued although it should have been refused.
    [[nodiscard]] bool goesOn() const { return now()[u"goesOn"].toBool(); }
    [[nodiscard]] QJsonArray wanted() const { return now()[u"wanted"].toArray(); }

    [[nodiscard]] QStringList saved() const {
        QStringList files;
        const QString standard = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
        for (const QString &folder : {standard, now()[u"downloadFolder"].toString()})
            if (!folder.isEmpty())
                files += QDir(folder).entryList(QDir::Files | QDir::Hidden);
        return files;
    }

private:
    [[nodiscard]] QJsonObject now() const {
        return _fixture.isWeb() ? _fixture.engine().state() : QJsonObject();
    }

    const RendererFixture &_fixture;
    const QJsonObject _before;
};

// Records every window that opens during its lifetime, however briefly. Tooltips do not count,
// because a tooltip of the previous page may still open.
class NewWindows final : public QObject {
public:
    NewWindows() { qApp->installEventFilter(this); }
    QStringList shown;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override {
        const auto *window = qobject_cast<const QWindow *>(watched);
        if (event->type() == QEvent::Show && window && window->type() != Qt::ToolTip)
            shown.append(
                QStringLiteral("%1 \"%2\" %3")
                    .arg(QLatin1String(watched->metaObject()->className()), watched->objectName())
                    .arg(quintptr(watched), 0, 16));
        return false;
    }
};

// Scripts that tell whether all sounds and videos have loaded, and whether none has played with
// sound. Videos without sound may play.
const QString soundHasCome = QStringLiteral(
    "(all => all.length > 0 && all.every(each => each.readyState === each.HAVE_ENOUGH_DATA))"
    "([...document.querySelectorAll('audio,video')])");
const QString noSoundWasPlayed = QStringLiteral(
    "[...document.querySelectorAll('audio,video')]"
    ".every(each => each.muted || (each.paused && each.played.length === 0))");

}  // namespace

class HostileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void initTestCase();
    void cleanupTestCase() { _fixture.reset(); }

    // Each function tests every fourth page; the four functions run in parallel.
    void doesNoMoreThanStandsBesideIt1_data() { addPages(0); }
    void doesNoMoreThanStandsBesideIt1() { doesNoMoreThanStandsBesideIt(); }
    void doesNoMoreThanStandsBesideIt2_data() { addPages(1); }
    void doesNoMoreThanStandsBesideIt2() { doesNoMoreThanStandsBesideIt(); }
    void doesNoMoreThanStandsBesideIt3_data() { addPages(2); }
    void doesNoMoreThanStandsBesideIt3() { doesNoMoreThanStandsBesideIt(); }
    void doesNoMoreThanStandsBesideIt4_data() { addPages(3); }
    void doesNoMoreThanStandsBesideIt4() { doesNoMoreThanStandsBesideIt(); }
    void nobodyGetsAPermission_data();
    void nobodyGetsAPermission();

private:
    static void addPages(int first);
    void doesNoMoreThanStandsBesideIt();
    void serve();
    void writeFiles() const;
    [[nodiscard]] QByteArray drawingOfFile() const;
    [[nodiscard]] QString asked(const HostilePage &page) const;

    PageServer _server;
    std::unique_ptr<TestAuthority> _authority;
    std::unique_ptr<FeedServer> _untrusted;
    QTemporaryDir _files;
    QMap<QString, QString> _addresses;
    std::unique_ptr<RendererFixture> _fixture;
    Painter _shownBy = Painter::Text;
};

void HostileTest::initTestCase_data() {
    QTest::addColumn<Painter>("painter");
    QTest::newRow("web") << Painter::Web;
    QTest::newRow("text") << Painter::Text;
}

void HostileTest::initTestCase() {
    _authority = std::make_unique<TestAuthority>();
    const auto certificate = _authority->issue(DevelopmentCertificates::Kind::SelfSigned);
    FeedServerOptions options;
    options.certificateFile = certificate.certificate;
    options.privateKeyFile = certificate.privateKey;
    _untrusted = std::make_unique<FeedServer>(options);
    QVERIFY(_untrusted->start());
    writeFiles();
    _addresses = {
        {QStringLiteral("server"), _server.address()},
        {QStringLiteral("tls"), _untrusted->address()},
        {QStringLiteral("files"), QUrl::fromLocalFile(_files.path()).toString()},
        {QStringLiteral("folder"), _files.path()},
        {QStringLiteral("bomb"), QString::fromLatin1(hugePicture().toBase64())},
        {QStringLiteral("large"), QString::fromLatin1(plainPicture(QSize(5656, 5656)).toBase64())},
        {QStringLiteral("drawing"), QString::fromLatin1(drawingOfFile().toBase64())},
    };
    serve();

    // Check that `FileWatch` sees a file that is opened.
    FileWatch watch(_files.path());
    QFile file(_files.filePath(QStringLiteral("page.html")));
    QVERIFY(file.open(QFile::ReadOnly));
    QCOMPARE(watch.opened(), QStringList{QStringLiteral("page.html")});
}

void HostileTest::writeFiles() const {
    const QByteArray red = "body { background: #ff00ff } p { color: #ff00ff }";
    const QList<std::pair<const char *, QByteArray>> all = {
        {"marker.png", picture(QColor(0xff, 0, 0xff))},
        {"page.html", "<body style='background:#ff00ff'>SECRET"},
        {"style.css", red},
        {"script.js", "document.write('SECRET')"},
        {"font.ttf", "no font"},
        {"sound.wav", "no sound"},
    };
    for (const auto &[name, content] : all) {
        QFile file(_files.filePath(QLatin1String(name)));
        if (!file.open(QFile::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write %s", name);
    }
}

// An SVG image that shows an image from the disk.
QByteArray HostileTest::drawingOfFile() const {
    return "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' "
           "width='300' height='100'><image xlink:href='" +
           QFile::encodeName(_files.filePath(QStringLiteral("marker.png"))) +
           "' width='300' height='100'/></svg>";
}

void HostileTest::serve() {
    const QByteArray base = _server.address().toLatin1();
    const QByteArray local = _addresses[QStringLiteral("files")].toLatin1();
    const QByteArray ran = "new Image().src='" + base + "/ran';document.write('R'+'AN')";
    _server.setAnswer("/ran.js", {ran, "text/javascript"});
    _server.setAnswer("/sound.wav", {sound(), "audio/wav"});
    _server.setAnswer("/seen.png", {picture(Qt::green), "image/png"});
    _server.setAnswer("/bomb.png", {hugePicture(), "image/png"});
    _server.setAnswer("/frame.html", {"<p>Framed<script>" + ran + "</script>"});
    _server.setAnswer("/page.html", {"<p>Another page<script>" + ran + "</script>"});
    _server.setAnswer("/leave.html",
                      {"<base target=_top><meta http-equiv=refresh content='0;url=" + local +
                       "/page.html'><script>top.location='" + base + "/ran'</script>"});
    _server.setAnswer("/drawing.svg",
                      {"<svg xmlns='http://www.w3.org/2000/svg' id='a'><script>" + ran +
                           "</script><image href='" + local + "/marker.png'/></svg>",
                       "image/svg+xml"});
    _server.setAnswer("/style.css", {"@import '" + local + "/style.css'; body { background: url(" +
                                         local + "/marker.png) }",
                                     "text/css"});
    _server.setAnswer("/password", {"none", "text/html", "401 Unauthorized",
                                    "WWW-Authenticate: Basic realm=\"Your password\"\r\n"});
    _server.setAnswer("/download", {"evil", "application/octet-stream", "200 OK",
                                    "Content-Disposition: attachment; filename=evil.desktop\r\n"});
    _server.setAnswer("/to-file",
                      {{}, "text/html", "302 Found", "Location: " + local + "/page.html\r\n"});
}

QString HostileTest::asked(const HostilePage &page) const {
    QStringList lines;
    for (const auto &question : _fixture->questions)
        lines.append(asLine(question));
    if (page.keepsAsking == lines.value(0) && lines.count(page.keepsAsking) == lines.size())
        lines.clear();
    lines.sort();
    return lines.join(u'\n');
}

// Adds a row for every fourth page, beginning with page number `first`.
void HostileTest::addPages(int first) {
    QTest::addColumn<QString>("name");
    const QStringList names = QDir(pages).entryList({QStringLiteral("*.html")});
    for (qsizetype page = first; page < names.size(); page += 4) {
        const QString name = names[page].chopped(5);
        QTest::newRow(qPrintable(name)) << name;
    }
}

void HostileTest::doesNoMoreThanStandsBesideIt() {
    QFETCH_GLOBAL(const Painter, painter);
    QFETCH(const QString, name);
    if (!_fixture || _shownBy != painter)
        _fixture = std::make_unique<RendererFixture>(painter);
    _shownBy = painter;
    const auto page = HostilePage::read(pages, name, painter, _addresses);
    const auto requested = [this] {
        QStringList all = _server.requests();
        all.sort();
        return all.join(u'\n');
    };

    _server.clear();
    _fixture->questions.clear();
    FileWatch watch(_files.path());
    NewWindows windows;
    const Doings doings(*_fixture);
    const QImage before = _fixture->screen();
    if (page.hangs)
        _fixture->view.loadHtmlString(page.html);
    else
        _fixture->load(page.html);
    if (page.click) {
        // The engine drops clicks on content that it has not painted yet.
        QTRY_VERIFY(_fixture->screen() != before);
        QTest::qWait(100);
        _fixture->click(QPoint(40, 50));
        // If the click must have no effect, check that it arrived all the same.
        if (page.asks.isEmpty() && painter == Painter::Web)
            QTRY_VERIFY(_fixture->hasFocusInPage());
    }
    QTRY_COMPARE(requested(), page.requests.join(u'\n'));
    QTRY_COMPARE(asked(page), page.asks.join(u'\n'));
    QTRY_COMPARE(doings.downloads(), page.downloads);
    // If the page must stay silent, check that its sound is loaded: otherwise silence proves
    // nothing.
    if (page.silent)
        QTRY_VERIFY(_fixture->evaluated(soundHasCome).toBool());
    // Leaves time for anything else that the page may do.
    QTest::qWait(painter == Painter::Web ? 250 : 10);

    QCOMPARE(requested(), page.requests.join(u'\n'));
    QCOMPARE(asked(page), page.asks.join(u'\n'));
    QCOMPARE(doings.downloads(), page.downloads);
    QVERIFY(!doings.goesOn());
    QCOMPARE(doings.saved(), QStringList());
    QVERIFY(!doings.heard());
    if (page.silent)
        QVERIFY(_fixture->evaluated(noSoundWasPlayed).toBool());
    QString text;
    const auto showsAll = [&] {
        text = page.hangs ? QString() : _fixture->text();
        return std::all_of(page.shows.begin(), page.shows.end(),
                           [&](const QString &each) { return text.contains(each); });
    };
    QTRY_VERIFY2(showsAll(), qPrintable(text.left(1000)));
    for (const QString &hidden : page.hides + QStringList{QStringLiteral("RAN")})
        QVERIFY2(!text.contains(hidden), qPrintable(text.left(1000)));
    for (const QColor &color : page.never)
        QVERIFY(!shows(_fixture->screen(), color));
    QVERIFY2(windows.shown.size() == (page.opensList ? 1 : 0),
             qPrintable(windows.shown.join(u'\n')));
    QVERIFY(QApplication::activeModalWidget() == nullptr);

    // The RTF for copying the page contains no way to run code or to open a file either.
    if (const auto rtf = richTextFromHtml(page.html)) {
        static const QRegularExpression other(
            QStringLiteral("HYPERLINK \"(?!((http|https|ftp)://[^/]|(mailto|tel|news):))"));
        QVERIFY(!QString::fromLatin1(*rtf).contains(other));
        QVERIFY(!rtf->contains("SECRET"));
    }
    QCOMPARE(watch.opened().join(u'|'), QString());

    // The panel still works.
    _fixture->questions.clear();
    _fixture->load(
        QStringLiteral("<body style='background:#fffff0'><p><a href=a "
                       "style='font-size:60px'>An ordinary page</a></p>"));
    // No QTRY_COMPARE: it asks once more after it has seen the text, and the page process may load
    // a page that took long to come a second time.
    const auto showsOrdinaryPage = [this] {
        return _fixture->text() == QLatin1String("An ordinary page");
    };
    waitUntil(showsOrdinaryPage, "the next page does not come");
    // A page that animates thousands of elements without end holds up the next one for long.
    QTRY_COMPARE_WITH_TIMEOUT(_fixture->pixel(QPoint(480, 280)), QColor(0xff, 0xff, 0xf0),
                              4 * testPatience);
    QVERIFY(QApplication::activePopupWidget() == nullptr);
    if (page.click) {
        // The engine drops clicks on content that it has only just painted.
        QTest::qWait(100);
        _fixture->click(QPoint(100, 100));
        QTRY_COMPARE(_fixture->questions.size(), 1);
    }
    // After a page that hangs, the engine may delay a click for some seconds, so the next page gets
    // a new engine page.
    if (page.hangs)
        _fixture.reset();
}

// Pages run no code. Even if one found a way to, requests that need the user's permission are
// refused.
void HostileTest::nobodyGetsAPermission_data() {
    QTest::addColumn<QString>("request");
    QTest::addColumn<QWebEnginePage::Feature>("feature");
    QTest::addColumn<QString>("answer");
    const auto row = [](const char *name, const char *request, QWebEnginePage::Feature feature,
                        const char *answer) {
        QTest::newRow(name) << QString::fromLatin1(request) << feature
                            << QString::fromLatin1(answer);
    };
    row("place", "navigator.geolocation.getCurrentPosition(given, refused)",
        QWebEnginePage::Geolocation, "refused 1");
    row("notifications", "Notification.requestPermission().then(refused, refused)",
        QWebEnginePage::Notifications, "refused denied");
    row("microphone", "navigator.mediaDevices.getUserMedia({audio: true}).then(given, refused)",
        QWebEnginePage::MediaAudioCapture, "refused NotAllowedError");
    row("camera", "navigator.mediaDevices.getUserMedia({video: true}).then(given, refused)",
        QWebEnginePage::MediaVideoCapture, "refused NotAllowedError");
    row("camera and microphone",
        "navigator.mediaDevices.getUserMedia({audio: true, video: true}).then(given, refused)",
        QWebEnginePage::MediaAudioVideoCapture, "refused NotAllowedError");
}

void HostileTest::nobodyGetsAPermission() {
    QFETCH_GLOBAL(const Painter, painter);
    QFETCH(const QString, request);
    QFETCH(const QWebEnginePage::Feature, feature);
    QFETCH(const QString, answer);
    if (painter == Painter::Text)
        QSKIP("the text renderer never asks for permissions");
    _fixture = std::make_unique<RendererFixture>(painter);
    _shownBy = painter;
    _fixture->load(QStringLiteral("<p>Still here"));
    NewWindows windows;
    const Doings doings(*_fixture);
    _fixture->evaluated(QStringLiteral("var answer = 'none';"
                                       "const given = () => answer = 'given';"
                                       "const refused = why => answer = 'refused ' + "
                                       "(why.code || why.name || why);") +
                        request + QStringLiteral(";0"));
    const auto answered = [this] {
        return _fixture->evaluated(QStringLiteral("answer")).toString();
    };
    QTRY_COMPARE(answered(), answer);
    QCOMPARE(doings.wanted(), QJsonArray{feature});
    QCOMPARE(windows.shown, QStringList());
    QVERIFY(QApplication::activeModalWidget() == nullptr);
}

PELORIN_WIDGET_TEST_MAIN(HostileTest)
#include "HostileTest.moc"
