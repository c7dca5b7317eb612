// SPDX-License-Identifier: MIT
// cases.h - everything that is measured, in one list: ezossl_bench measures its time, ezossl_count
// counts its instructions.

#ifndef EZOSSL_BENCH_CASES_H
#define EZOSSL_BENCH_CASES_H

#include <functional>
#include <string>
#include <vector>

using Call = std::function<void()>;

struct Case {
    std::string name; // group/case, as docs/performance.md shows it
    Call (*prepare)();
};

// The library as its users call it, and the steps of a frame.
extern const std::vector<Case> kLibraryCases;
// The library's transform of 256 real points, and those of other libraries.
extern const std::vector<Case> kTransformCases;
// Other estimators of a frame's delay.
extern const std::vector<Case> kPeerCases;

std::vector<Case> all_cases();

#endif
