// SPDX-License-Identifier: MIT
// bench.cpp - the time of every case, by Google Benchmark: ezossl_bench --help.

#include <cstdlib>
#include <string>

#include <benchmark/benchmark.h>
#include <sys/mman.h>
#include <unistd.h>

#include "cases.h"

namespace {

// The library prints messages during set-up, unless its level file says otherwise.
void print_errors_only()
{
    const std::string level = "{\"debug_level\": 1}\n";
    const int file = memfd_create("level", 0);
    if (file >= 0 && write(file, level.data(), level.size()) == static_cast<ssize_t>(level.size()))
        setenv("DML_PATH", ("/proc/self/fd/" + std::to_string(file)).c_str(), 0);
}

} // namespace

int main(int argc, char **argv)
{
    print_errors_only();
    for (const Case &measured : all_cases())
        benchmark::RegisterBenchmark(measured.name.c_str(), [measured](benchmark::State &state) {
            const Call call = measured.prepare();
            for ([[maybe_unused]] auto _ : state)
                call();
        });
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
