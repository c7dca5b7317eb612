// SPDX-License-Identifier: MIT
// event_log.h - the events of the last minute, which many readers take at a pace of their own. What
// a slow reader has not taken when it leaves the log is lost to this reader, and counted.

#ifndef EZOSSL_TOOL_EVENT_LOG_H
#define EZOSSL_TOOL_EVENT_LOG_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

class EventLog
{
public:
    using Time = std::chrono::steady_clock::time_point;
    // Which event comes next, and the first one that was not yet there when the reader joined.
    struct Reader {
        uint64_t next;
        uint64_t joined;
    };
    struct Event {
        std::string text;
        uint64_t lost; // events since the one before
    };

    enum class Kind {
        opening, // of an input: what came before it is not for readers that join later
        kept,    // for as long as the input lasts
        passing, // for a minute, if there are not too many
    };
    void add(Kind kind, std::string text, Time now);

    // Begins with the opening.
    Reader join() const;
    // None: the reader has had them all.
    std::optional<Event> take(Reader &reader);

    // Of all readers.
    uint64_t lost() const { return lost_; }

private:
    struct Entry {
        uint64_t number;
        Kind kind;
        Time time;
        std::string text;
    };

    void drop_oldest(Time now);

    std::deque<Entry> entries_;
    uint64_t next_ = 0; // number
    uint64_t opening_ = 0;
    size_t passing_ = 0;
    uint64_t lost_ = 0;
};

#endif
