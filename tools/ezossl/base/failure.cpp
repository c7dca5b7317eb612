// SPDX-License-Identifier: MIT
// failure.cpp - turns exceptions into messages and exit statuses.

#include "base/failure.h"

#include <cstdio>
#include <new>

#include "base/text.h"

int fail_without_memory()
{
    std::fputs("ezossl: not enough memory\n", stderr);
    return kError;
}

int exit_status_of(const std::function<int()> &work)
{
    try {
        return work();
    } catch (const EndWith &end) {
        return end.status;
    } catch (const UsageFailure &failure) {
        note(failure.what());
        return kUsage;
    } catch (const std::bad_alloc &) {
        return fail_without_memory();
    } catch (const std::exception &failure) {
        note(failure.what());
        return kError;
    }
}
