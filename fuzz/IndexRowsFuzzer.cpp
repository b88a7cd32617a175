// The promise tested: whatever bytes the file index answers, they give absolute paths only, and
// whole rows give the paths that they were made from.

#include "Input.h"
#include "finder/FileIndexQuery.h"

#include <QList>

using namespace pelorinnews;

namespace {

void require(bool holds) {
    if (!holds)
        qFatal("the rows of the index violate one of their guarantees");
}

void append(QByteArray &rows, qint32 number) {
    rows.append(reinterpret_cast<const char *>(&number), sizeof number);
}

void readAny(const QByteArray &bytes) {
    const std::vector<QByteArray> paths = FileIndexQuery::parseRows(bytes);
    // The shortest row that gives a path: three numbers, "file:///", and a NUL.
    require(paths.size() <= static_cast<size_t>(bytes.size()) / 21);
    for (const QByteArray &path : paths)
        require(path.startsWith('/'));
}

/// Each line becomes a row: a path if it begins with a slash, else the URL that it is.
void readMade(const QByteArray &lines) {
    QByteArray rows;
    std::vector<QByteArray> expected;
    for (const QByteArray &line : lines.split('\n')) {
        const bool isPath = line.startsWith('/');
        const QByteArray url = isPath ? "file://" + line.toPercentEncoding("/") : line;
        if (isPath)
            expected.push_back(line);
        else if (url.startsWith("file:///"))
            expected.push_back(QByteArray::fromPercentEncoding(url.mid(7)));
        append(rows, 1);
        append(rows, 1);
        append(rows, static_cast<qint32>(url.size()));
        rows += url + '\0';
    }
    require(FileIndexQuery::parseRows(rows) == expected);
    // The last row is cut.
    std::vector<QByteArray> whole = expected;
    const QByteArray last = lines.mid(lines.lastIndexOf('\n') + 1);
    if (last.startsWith('/') || last.startsWith("file:///"))
        whole.pop_back();
    require(FileIndexQuery::parseRows(rows.chopped(1)) == whole);
}

}  // namespace

/// The first byte selects what the rest is: the index's bytes, or lines for rows. The seeds have
/// "b" and "a".
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0)
        return 0;
    const QByteArray rest(reinterpret_cast<const char *>(data + 1),
                          static_cast<qsizetype>(size - 1));
    if (data[0] % 2 == 0)
        readAny(rest);
    else
        readMade(rest);
    return 0;
}
