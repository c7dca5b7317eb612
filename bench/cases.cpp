// SPDX-License-Identifier: MIT
// cases.cpp - see cases.h.

#include "cases.h"

std::vector<Case> all_cases()
{
    std::vector<Case> cases;
    for (const auto *part : {&kLibraryCases, &kTransformCases, &kPeerCases})
        cases.insert(cases.end(), part->begin(), part->end());
    return cases;
}
