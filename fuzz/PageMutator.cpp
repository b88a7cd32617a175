// How libFuzzer changes pages.

#include <QByteArray>
#include <QFile>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t maxSize);

namespace {

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
