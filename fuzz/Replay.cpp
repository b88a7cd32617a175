// Runs a fuzzer once with each file of a folder, without libFuzzer.

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
// Not every fuzzer has it.
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *argc, char ***argv);

int main(int argc, char *argv[]) {
    if (argc != 2)
        qFatal("usage: %s FOLDER", argv[0]);
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    const QStringList names = folder.entryList(QDir::Files);
    if (names.isEmpty())
        qFatal("no input in %s", argv[1]);
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&argc, &argv);
    for (const QString &name : names) {
        QFile file(folder.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            qFatal("cannot read %s", qPrintable(file.fileName()));
        const QByteArray input = file.readAll();
        // Said beforehand, since a failure ends the program.
        std::printf("%s, %lld bytes\n", qPrintable(name), static_cast<long long>(input.size()));
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.constData()),
                               static_cast<size_t>(input.size()));
    }
    return 0;
}
