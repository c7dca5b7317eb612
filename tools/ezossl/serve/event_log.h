// SPDX-License-Identifier: MIT
// event_log.h - the events of the last minute, which readers take at their own pace. An event that
// leaves the log before a slow reader has taken it is lost to that reader, and counted.

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
    // The number of the event that comes next, and of the first event after the reader joined.
    struct Reader {
        uint64_t next;
        uint64_t joined;
    };
    struct Event {
        std::string text;
        uint64_t lost; // events between the previous one and this
    };

    enum class Kind {
        opening, // begins an input; readers that join later get nothing from before it
        kept,    // stays for as long as the input lasts
        passing, // stays for a minute, if there are not too many
    };
    void add(Kind kind, std::string text, Time now);

    // A new reader, which begins with the opening.
    Reader join() const;
    // The next event, if the reader has not had them all.
    std::optional<Event> take(Reader &reader);

    // Lost events of all readers.
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
