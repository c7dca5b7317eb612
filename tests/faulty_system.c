/* SPDX-License-Identifier: MIT
 * faulty_system.c - preloaded into the tool, lets one call fail: FAIL_CALL is its name, FAIL_AT
 * says which one, counted from 1, FAIL_ERRNO how. The call json is an allocation of cJSON.
 */

#define _GNU_SOURCE
#undef _FORTIFY_SOURCE /* with it read() is inline */
#include <cJSON.h>
#include <dlfcn.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static long number(const char *name)
{
    const char *const text = getenv(name);
    return text != NULL ? strtol(text, NULL, 10) : 0;
}

static int fails(const char *call)
{
    static long count;
    const char *const chosen = getenv("FAIL_CALL");
    if (chosen == NULL || strcmp(chosen, call) != 0 || ++count != number("FAIL_AT"))
        return 0;
    errno = (int)number("FAIL_ERRNO");
    return 1;
}

/* The next definition behind this one, as dlsym() gives it: an object, not a function. */
#define NEXT(function)                                                                             \
    static __typeof__(&(function)) next;                                                           \
    if (next == NULL)                                                                              \
    *(void **)&next = dlsym(RTLD_NEXT, #function)

ssize_t read(int descriptor, void *bytes, size_t count)
{
    NEXT(read);
    return fails("read") ? -1 : next(descriptor, bytes, count);
}

int fsync(int descriptor)
{
    NEXT(fsync);
    return fails("fsync") ? -1 : next(descriptor);
}

static void *json_malloc(size_t size)
{
    return fails("json") ? NULL : malloc(size);
}

__attribute__((constructor)) static void watch_cjson(void)
{
    cJSON_Hooks hooks = {json_malloc, free};
    cJSON_InitHooks(&hooks);
}
