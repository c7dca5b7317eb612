// SPDX-License-Identifier: MIT
// debug_msglevel.cpp - reads the message level.

#include "debug_msglevel.h"

#include "KivFs.h"
#include "KivOs.h"

#include <cJSON.h>
#include <cstdio>

namespace {

constexpr size_t kPathBytes = 128;

// A level file has a line or two. Larger files are ignored: parsing could need a hundred times
// their size in memory.
constexpr int64_t kLargestFile = int64_t{1} << 20;

// Only the member's integer value counts, whatever its type: `true` reads as 1, a text as 0.
int32_t level_in_text(const char *text)
{
    int32_t level = kMsgLevelDefault;
    cJSON *const root = cJSON_Parse(text);
    const cJSON *const member = cJSON_GetObjectItem(root, "debug_level");
    if (member != nullptr)
        level = member->valueint;
    cJSON_Delete(root);

    const bool accepted = level == 1 || level == 3 || level == 7 || level == 15;
    return accepted ? level : kMsgLevelDefault;
}

int32_t level_in_file(KivFile file)
{
    const int64_t size = KivFsSeek(file, 0, kKivFsEnd);
    if (size <= 0 || size > kLargestFile || KivFsSeek(file, 0, kKivFsStart) != 0)
        return kMsgLevelDefault;
    // One byte more, for the terminating zero.
    char *const text = static_cast<char *>(KivOsMemAlloc(static_cast<size_t>(size) + 1));
    if (text == nullptr)
        return kMsgLevelDefault;

    const size_t count = KivFsRead(file, text, static_cast<size_t>(size));
    text[count] = '\0';
    const int32_t level = count != 0 ? level_in_text(text) : kMsgLevelDefault;
    KivOsMemRelease(text);
    return level;
}

} // namespace

int32_t read_message_level()
{
    char path[kPathBytes];
    const char *const named = KivOsEnvironment("DML_PATH");
    const int length =
        std::snprintf(path, sizeof path, "%s", named != nullptr ? named : "/config/audioAlgo.json");
    // A truncated path may name another file, so none is opened.
    if (length < 0 || static_cast<size_t>(length) >= sizeof path)
        return kMsgLevelDefault;

    const KivFile file = KivFsOpen(path, kKivFsRead, 0644);
    if (file < 0)
        return kMsgLevelDefault;
    const int32_t level = level_in_file(file);
    KivFsClose(file);
    return level;
}
