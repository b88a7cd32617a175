// The promise tested: showing any page in the text renderer and copying any page as rich text each
// take at most a quarter of a second, or as many times that as PELORIN_FUZZ_ALLOWANCE says.

#include "page/BoundedHtml.h"
#include "rendering/TextNewsRenderer.h"
#include "richtext/RichTextWriter.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QPixmap>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <functional>

using namespace pelorinnews;

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

Milliseconds maxTime() {
    static const int allowance =
        std::max(1, qEnvironmentVariableIntValue("PELORIN_FUZZ_ALLOWANCE"));
    return allowance * Milliseconds(250);
}

// CPU time of the calibration in `slowness` on the reference computer when it is idle. The limit
// `maxTime` is meant for that computer.
constexpr Milliseconds calibratedTime{7.3};
constexpr size_t maxPageSize = 65'536;

Milliseconds processorTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

Milliseconds timeOf(const std::function<void()> &work) {
    const Milliseconds start = processorTime();
    work();
    return processorTime() - start;
}

/// How many times slower than the reference computer this one is right now; at least 1.
double slowness() {
    static const QString article =
        QStringLiteral(
            "<p>Lorem ipsum dolor sit amet consectetur <b>Lorem ipsum dolor sit amet consectetur "
            "</b>Lorem ipsum dolor sit amet consectetur </p>")
            .repeated(200);
    Milliseconds best = Milliseconds::max();
    for (int i = 0; i < 3; ++i)
        best = std::min(best, timeOf([] {
                            QTextDocument document;
                            document.setHtml(article);
                            document.setTextWidth(576);
                            static_cast<void>(document.documentLayout()->documentSize());
                        }));
    return std::max(1.0, best / calibratedTime);
}

void show(const QString &html) {
    static auto *const renderer = [] {
        auto *made = new TextNewsRenderer(nullptr);
        made->resize(576, 322);
        made->setStandardFontFamily(QStringLiteral("Verdana"));
        return made;
    }();
    renderer->loadHtmlString(html, PageKind::Item);
    static_cast<void>(renderer->grab());
    // The layout is lazy: ask for the last block, so that the whole document is laid out now.
    static_cast<void>(renderer->document()->documentLayout()->blockBoundingRect(
        renderer->document()->lastBlock()));
}

void copy(const QString &html) {
    const std::optional<QByteArray> bytes = richTextFromHtml(html);
    if (bytes && !bytes->startsWith("{\\rtf1"))
        qFatal("the copy is not RTF");
}

void require(const char *what, const QString &html, void (*work)(const QString &)) {
    const Milliseconds first = timeOf([&] { work(html); });
    if (first <= maxTime())
        return;
    // Other programs slow this one down, so the best of several runs counts.
    Milliseconds best = Milliseconds::max();
    for (int i = 0; i < 5; ++i) {
        const Milliseconds taken = timeOf([&] { work(html); });
        best = std::min(best, taken / slowness());
    }
    if (best > maxTime())
        qFatal("%s in %.0f ms; the first run took %.0f ms", what, best.count(), first.count());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_LOGGING_RULES", "*.warning=false");
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            fprintf(stderr, "%s\n", qPrintable(text));
    });
    static QApplication application(*argc, *argv);
    fprintf(stderr, "slowness %.2f\n", slowness());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > maxPageSize)
        return 0;
    const QString html =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    require("shown", html, show);
    require("copied", html, copy);
    return 0;
}
