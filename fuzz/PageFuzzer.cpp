// The promise tested: showing any page in the text renderer and copying any page as rich text each
// take at most a quarter of a second.

#include "page/BoundedHtml.h"
#include "rendering/TextNewsRenderer.h"
#include "richtext/RichTextWriter.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QFile>
#include <QPixmap>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <functional>
#include <random>

using namespace pelorinnews;

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t maxSize);

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr Milliseconds maxTime{250};
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
    renderer->loadHtmlString(html);
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
    if (first <= maxTime)
        return;
    // Other programs slow this one down, so the best of several runs counts.
    Milliseconds best = Milliseconds::max();
    for (int i = 0; i < 5; ++i) {
        const Milliseconds taken = timeOf([&] { work(html); });
        best = std::min(best, taken / slowness());
    }
    if (best > maxTime)
        qFatal("%s in %.0f ms; the first run took %.0f ms", what, best.count(), first.count());
}

/// Pieces of HTML and CSS. Mutations of single bytes rarely form whole tags or properties.
const std::vector<std::string> &pieces() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> found;
        QFile file(QStringLiteral(PELORIN_PAGE_DICTIONARY));
        if (!file.open(QIODevice::ReadOnly))
            qFatal("cannot read the dictionary");
        for (const QByteArray &line : file.readAll().split('\n')) {
            if (!line.startsWith('"'))
                continue;
            QByteArray piece = line.mid(1, line.lastIndexOf('"') - 1);
            for (qsizetype at = piece.indexOf("\\x"); at >= 0; at = piece.indexOf("\\x", at + 1))
                piece.replace(at, 4, QByteArray::fromHex(piece.mid(at + 2, 2)));
            found.push_back(piece.replace("\\\"", "\"").toStdString());
        }
        return found;
    }();
    return all;
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

/// Besides libFuzzer's mutations of bytes: inserts pieces of HTML and CSS, deletes a part, or
/// repeats a part up to thousands of times, which is what makes pages slow.
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize,
                                          unsigned int seed) {
    std::minstd_rand random(seed);
    const auto below = [&random](size_t limit) { return limit == 0 ? 0 : random() % limit; };
    std::string page(reinterpret_cast<const char *>(data), size);
    switch (below(5)) {
        case 0:
            return LLVMFuzzerMutate(data, size, maxSize);
        case 1:
        case 2:
            for (size_t count = 1 + below(6); count > 0; --count)
                page.insert(below(page.size() + 1), pieces()[below(pieces().size())]);
            break;
        case 3: {
            // The repeated part begins at a tag.
            const size_t from = std::min(page.find('<', below(page.size() + 1)), page.size());
            const size_t length = 1 + below(std::min<size_t>(page.size() - from + 1, 400));
            const std::string part = page.substr(from, length);
            std::string repeated;
            for (size_t count = size_t{1} << below(14);
                 count > 0 && page.size() + repeated.size() + part.size() <= maxSize; --count)
                repeated += part;
            page.insert(from, repeated);
            break;
        }
        default: {
            const size_t from = below(page.size() + 1);
            page.erase(from, below(200));
            break;
        }
    }
    if (page.size() > maxSize)
        page.resize(maxSize);
    std::copy(page.begin(), page.end(), data);
    return page.size();
}
