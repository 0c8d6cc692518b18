#pragma once

#include "benchmarks/support/Summary.hpp"

/// The benchmarks by what they measure. Each function names its benchmarks to the library and its limits to the
/// summary.
namespace corvel::benchmarks {

void registerRoutingBenchmarks(Summary& summary);
void registerAllocationBenchmarks(Summary& summary);
void registerDocumentBenchmarks(Summary& summary);
void registerModelBenchmarks(Summary& summary);

}  // namespace corvel::benchmarks
