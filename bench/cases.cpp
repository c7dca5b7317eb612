// SPDX-License-Identifier: MIT
// cases.cpp - sets up an instance for each case, and lists the cases.

#include "cases.h"

std::vector<Case> all_cases()
{
    std::vector<Case> cases;
    for (const auto *part : {&kLibraryCases, &kTransformCases, &kPeerCases})
        cases.insert(cases.end(), part->begin(), part->end());
    return cases;
}
