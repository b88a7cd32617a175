#include <QCoreApplication>

#include <benchmark/benchmark.h>

int main(int argc, char *argv[]) {
    // An English locale, because the feed's dates are English.
    qputenv("LC_ALL", "en_US.UTF-8");
    qunsetenv("LANGUAGE");
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
