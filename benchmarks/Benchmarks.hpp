#pragma once

#include "benchmarks/support/Summary.hpp"

/// The groups of benchmarks. Each function registers its benchmarks with the library and its limits with the summary.
namespace corvel::benchmarks {

void registerRoutingBenchmarks(Summary& summary);
void registerAllocationBenchmarks(Summary& summary);
void registerDocumentBenchmarks(Summary& summary);
void registerModelBenchmarks(Summary& summary);

}  // namespace corvel::benchmarks
