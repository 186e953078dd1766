// The benchmark runner's entry point; the benchmarks themselves live in the other bench_*.cpp files.
#include <benchmark/benchmark.h>

BENCHMARK_MAIN();
