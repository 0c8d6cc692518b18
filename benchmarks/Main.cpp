#include "benchmarks/Benchmarks.hpp"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    using namespace corvel::benchmarks;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    Summary summary;
    registerRoutingBenchmarks(summary);
    registerAllocationBenchmarks(summary);
    registerDocumentBenchmarks(summary);
    registerModelBenchmarks(summary);
    if (benchmark::RunSpecifiedBenchmarks(&summary) == 0) {
        std::fprintf(stderr, "no benchmark has such a name\n");
        return 2;
    }
    const bool isMet = summary.printSummary();
    benchmark::Shutdown();
    return isMet ? EXIT_SUCCESS : EXIT_FAILURE;
}
