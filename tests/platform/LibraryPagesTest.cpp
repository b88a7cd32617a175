#include "TestMain.h"
#include "platform/LibraryPages.h"

#include <QFile>
#include <QTest>

#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>

using namespace pelorinnews;

namespace {

/// A library that nothing else in this process uses, and a function in it that is never called.
constexpr auto library = "libmvec.so.1";
constexpr auto symbol = "_ZGVbN2v_sin";

/// The resident size of a library's code and constants in this process, in kilobytes.
qint64 residentKilobytes(const QByteArray &name) {
    QFile maps(QStringLiteral("/proc/self/smaps"));
    if (!maps.open(QIODevice::ReadOnly))
        qFatal("cannot read /proc/self/smaps");
    qint64 sum = 0;
    bool counts = false;
    for (const QByteArray &line : maps.readAll().split('\n')) {
        const QList<QByteArray> words = line.simplified().split(' ');
        if (words[0].contains('-') && !words[0].endsWith(':'))
            counts = words.last().contains(name) && !words.value(1).contains('w');
        else if (counts && words[0] == "Rss:")
            sum += words[1].toLongLong();
    }
    return sum;
}

}  // namespace

class LibraryPagesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        void *const opened = ::dlopen(library, RTLD_NOW);
        QVERIFY2(opened, library);
        _code = static_cast<volatile unsigned char *>(::dlsym(opened, symbol));
        QVERIFY(_code);
        _first = *_code;
    }

    void givesBackWhatIsUnchangedAndTheContentsComeBack() {
        QVERIFY(residentKilobytes(library) > 0);
        releaseLibraryPages({library});
        const qint64 left = residentKilobytes(library);
        QVERIFY2(left <= 16, QByteArray::number(left).constData());
        QCOMPARE(*_code, _first);
        QVERIFY(residentKilobytes(library) > left);
    }

    void leavesOtherLibrariesAlone() {
        QCOMPARE(*_code, _first);
        const qint64 before = residentKilobytes(library);
        releaseLibraryPages({"libother"});
        QVERIFY(residentKilobytes(library) >= before);
    }

    void goesByTheBeginningOfTheFilesName() {
        releaseLibraryPages({"mvec"});
        QVERIFY(residentKilobytes(library) > 16);
        releaseLibraryPages({"libmv"});
        QVERIFY(residentKilobytes(library) <= 16);
    }

    void keepsWhatADebuggerHasChanged() {
        const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
        const auto page = reinterpret_cast<std::uintptr_t>(_code) & ~(pageSize - 1);
        void *const start = reinterpret_cast<void *>(page);
        QCOMPARE(::mprotect(start, pageSize, PROT_READ | PROT_WRITE | PROT_EXEC), 0);
        constexpr unsigned char breakpoint = 0xcc;
        *_code = breakpoint;
        QCOMPARE(::mprotect(start, pageSize, PROT_READ | PROT_EXEC), 0);
        releaseLibraryPages({library});
        QCOMPARE(*_code, breakpoint);
    }

private:
    volatile unsigned char *_code = nullptr;
    unsigned char _first = 0;
};

PELORIN_CORE_TEST_MAIN(LibraryPagesTest)
#include "LibraryPagesTest.moc"
