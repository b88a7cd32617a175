// Memory files that host and page process share.

#include "TestMain.h"
#include "pageprotocol/SharedMemory.h"

#include <QScopeGuard>
#include <QTest>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace pelorinnews::test {

using Access = SharedMemory::Access;

class SharedMemoryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isSharedBetweenItsMappings();
    void holdsItsContent();
    void holdsItsText_data();
    void holdsItsText();
    void mayBeEmpty();
    void nobodyChangesTheSize();
    void nobodyChangesASealedContent();
    void mapsNothingThatIsSmallerOrMayShrink();
    void survivesTheLimitOfFileSizes();
};

void SharedMemoryTest::isSharedBetweenItsMappings() {
    const FileDescriptor file = SharedMemory::create(10'000);
    const auto written = SharedMemory::map(file, 10'000, Access::Write);
    const auto read = SharedMemory::map(file, 10'000, Access::Read);
    QVERIFY(written && read);
    QCOMPARE(read->size(), 10'000);
    QCOMPARE(read->data()[9'999], uchar{0});
    written->data()[9'999] = 7;
    QCOMPARE(read->data()[9'999], uchar{7});
}

void SharedMemoryTest::holdsItsContent() {
    const QByteArray content(100'000, 'x');
    const FileDescriptor file = SharedMemory::createSealed(content);
    const auto read = SharedMemory::map(file, content.size(), Access::Read);
    QVERIFY(read);
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(read->data()), read->size()), content);
}

void SharedMemoryTest::holdsItsText() {
    QFETCH(QString, text);
    QFETCH(QString, expected);
    const auto sealed = SharedMemory::createSealedText(text);
    const auto read = SharedMemory::map(sealed.file, sealed.bytes, Access::Read);
    QVERIFY(read);
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(read->data()), read->size()),
             expected.toUtf8());
    QVERIFY(!SharedMemory::map(sealed.file, sealed.bytes + 1, Access::Read));
    QVERIFY(::pwrite(sealed.file.get(), "x", 1, 0) < 0);
}

void SharedMemoryTest::holdsItsText_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const QString &text, const QString &expected) {
        QTest::newRow(name) << text << expected;
    };
    const auto same = [&row](const char *name, const QString &text) { row(name, text, text); };
    const QChar high(0xd83d);
    const QChar low(0xde00);
    same("empty", {});
    same("with a null character", QString(QChar(u'\0')) + QLatin1Char('x'));
    same("ASCII", QString(100'000, QLatin1Char('x')));
    same("three bytes a character", QString(100'000, QChar(u'語')));
    // The text is converted in pieces. With an odd number of units before them, some pairs of
    // surrogates fall into two pieces.
    const QString pairs = QString(QChar(high) + QString(low)).repeated(50'000);
    same("surrogate pairs", pairs);
    same("surrogate pairs from the second unit on", QLatin1Char('x') + pairs);
    row("unpaired surrogates", QString(high) + QLatin1Char('a') + low + QLatin1Char('b'),
        QStringLiteral("\uFFFDa\uFFFDb"));
    row("unpaired surrogate at the end", QLatin1Char('a') + QString(high), QStringLiteral("a"));
}

void SharedMemoryTest::mayBeEmpty() {
    QVERIFY(SharedMemory::map(SharedMemory::createSealed({}), 0, Access::Read));
}

void SharedMemoryTest::nobodyChangesTheSize() {
    const FileDescriptor file = SharedMemory::create(10'000);
    QVERIFY(::ftruncate(file.get(), 0) != 0);
    QVERIFY(::ftruncate(file.get(), 20'000) != 0);
    QVERIFY(::fcntl(file.get(), F_ADD_SEALS, F_SEAL_WRITE) != 0);
}

void SharedMemoryTest::nobodyChangesASealedContent() {
    const FileDescriptor file = SharedMemory::createSealed("content");
    QVERIFY(!SharedMemory::map(file, 7, Access::Write));
    QVERIFY(::pwrite(file.get(), "x", 1, 0) < 0);
}

void SharedMemoryTest::mapsNothingThatIsSmallerOrMayShrink() {
    const FileDescriptor file = SharedMemory::create(10'000);
    QVERIFY(!SharedMemory::map(file, 10'001, Access::Read));
    QVERIFY(!SharedMemory::map(file, -1, Access::Read));
    QVERIFY(!SharedMemory::map(FileDescriptor(), 0, Access::Read));
    const FileDescriptor open(::memfd_create("open", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    QCOMPARE(::ftruncate(open.get(), 10'000), 0);
    QVERIFY(!SharedMemory::map(open, 10'000, Access::Read));
    const FileDescriptor null(::open("/dev/null", O_RDWR | O_CLOEXEC));
    QVERIFY(!SharedMemory::map(null, 0, Access::Read));
}

// The signal that comes with it ends a process that does nothing about it, as this test does not.
void SharedMemoryTest::survivesTheLimitOfFileSizes() {
    rlimit before{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto restore = qScopeGuard([&before] { ::setrlimit(RLIMIT_FSIZE, &before); });
    const rlimit small{100'000, before.rlim_max};
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
    QVERIFY(SharedMemory::create(100'000).isValid());
    QVERIFY(!SharedMemory::create(100'001).isValid());
    QVERIFY(!SharedMemory::createSealed(QByteArray(100'001, 'x')).isValid());
    QVERIFY(!SharedMemory::createSealedText(QString(100'001, QLatin1Char('x'))).file.isValid());
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::SharedMemoryTest)
#include "SharedMemoryTest.moc"
