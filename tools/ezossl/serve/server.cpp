// SPDX-License-Identifier: MIT
// server.cpp - libmicrohttpd runs one thread for all connections. A stream of events that has
// nothing to send is suspended until there is something. Connections are few, and short unless they
// are streams.

#include "serve/server.h"

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <thread>
#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pthread.h>
#include <sys/socket.h>

#include "base/failure.h"
#include "serve/http_answer.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr size_t kMostReaders = 32;
constexpr unsigned kMostConnections = 64; // readers and all others, such as refused ones
constexpr auto kRequestTime = seconds(5); // from the connection to the end of the answer
constexpr auto kBeat = seconds(5);        // between signs of life of a silent stream
constexpr unsigned kStalled = 10;         // seconds after which a reader that takes nothing is gone
constexpr auto kFarewell = milliseconds(200);
constexpr int kSendBuffer = 1 << 15; // bytes that the system buffers for a connection
constexpr size_t kPiece = 1024;      // bytes of a stream at once

constexpr const char *kEvents = "text/event-stream";

std::string event_text(const std::string &json, const std::string &name)
{
    return (name.empty() ? "" : "event: " + name + '\n') + "data: " + json + "\n\n";
}

// Threads that are started while this exists get no signals. Signals must go to the thread that
// captures, so that its blocked calls return.
class NoSignals
{
public:
    NoSignals()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &previous_);
    }
    ~NoSignals() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
    NoSignals(const NoSignals &) = delete;
    NoSignals &operator=(const NoSignals &) = delete;

private:
    sigset_t previous_{};
};

int descriptor_of(MHD_Connection *connection)
{
    return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

} // namespace

class Server::State
{
public:
    State(ListeningSocket &socket, std::string page);
    ~State();
    State(const State &) = delete;
    State &operator=(const State &) = delete;

    void add(EventLog::Kind kind, const std::string &text);
    void set_latest(const std::string &json);
    uint64_t lost() const;

private:
    // A reader of /events.
    struct Stream {
        State *state;
        MHD_Connection *connection;
        EventLog::Reader reader;
        unsigned long beats;
        std::string text{}; // on its way
        size_t sent = 0;
        bool is_suspended = false;
    };

    // Called by libmicrohttpd, with the state or a stream first.
    static MHD_Result on_request(void *state, MHD_Connection *connection, const char *path,
                                 const char *method, const char *version, const char *body,
                                 size_t *body_size, void **request);
    static ssize_t on_read(void *stream, uint64_t position, char *bytes, size_t most);
    static void on_end_of_stream(void *stream);
    static void on_connection(void *state, MHD_Connection *connection, void **connection_data,
                              MHD_ConnectionNotificationCode event);

    MHD_Result respond(MHD_Connection *connection, const std::string &path,
                       const std::string &method);
    MHD_Result respond_with_stream(MHD_Connection *connection, bool is_head);
    ssize_t read(Stream &stream, char *bytes, size_t most);
    bool find_text(Stream &stream);
    void wake_streams();
    void keep_house();

    const std::string page_;
    const std::vector<std::string> names_;
    mutable std::mutex mutex_; // of what follows, but for the threads
    std::condition_variable all_ended_;
    std::condition_variable is_over_;
    EventLog log_;
    std::string latest_;
    std::set<Stream *> streams_;
    std::map<int, Clock::time_point> deadlines_; // of connections that are not streams
    unsigned long beats_ = 0;
    bool is_ending_ = false;
    std::unique_ptr<MHD_Daemon, decltype(&MHD_stop_daemon)> daemon_{nullptr, MHD_stop_daemon};
    std::thread housekeeper_;
};

Server::State::State(ListeningSocket &socket, std::string page)
    : page_(std::move(page)), names_(socket.names())
{
    const NoSignals in_these_threads;
    daemon_.reset(MHD_start_daemon(
        MHD_USE_POLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME, 0, nullptr, nullptr, on_request,
        this, MHD_OPTION_LISTEN_SOCKET, socket.release(), MHD_OPTION_CONNECTION_LIMIT,
        kMostConnections, MHD_OPTION_CONNECTION_TIMEOUT, kStalled, MHD_OPTION_NOTIFY_CONNECTION,
        on_connection, this, MHD_OPTION_END));
    if (!daemon_)
        throw Failure("--serve: the web server cannot start; omit --serve");
    housekeeper_ = std::thread([this] { keep_house(); });
}

Server::State::~State()
{
    {
        std::unique_lock lock(mutex_);
        is_ending_ = true;
        wake_streams();
        all_ended_.wait_for(lock, kFarewell, [this] { return streams_.empty(); });
    }
    is_over_.notify_all();
    housekeeper_.join();
    daemon_.reset(); // whose thread uses the rest
}

void Server::State::add(EventLog::Kind kind, const std::string &text)
{
    const std::lock_guard lock(mutex_);
    log_.add(kind, text, Clock::now());
    wake_streams();
}

void Server::State::set_latest(const std::string &json)
{
    const std::lock_guard lock(mutex_);
    latest_ = json;
}

uint64_t Server::State::lost() const
{
    const std::lock_guard lock(mutex_);
    return log_.lost();
}

void Server::State::wake_streams()
{
    for (Stream *const stream : streams_)
        if (std::exchange(stream->is_suspended, false))
            MHD_resume_connection(stream->connection);
}

MHD_Result Server::State::on_request(void *state, MHD_Connection *connection, const char *path,
                                     const char *method, const char * /*version*/,
                                     const char * /*body*/, size_t * /*body_size*/,
                                     void ** /*request*/)
try {
    return static_cast<State *>(state)->respond(connection, path, method);
} catch (const std::bad_alloc &) {
    return MHD_NO; // closes the connection
}

MHD_Result Server::State::respond(MHD_Connection *connection, const std::string &path,
                                  const std::string &method)
{
    const Refusal refusal = refusal_of(connection, method, path == "/", names_);
    if (refusal.status != 0)
        return answer(connection, refusal.status, refusal.text, "text/plain", refusal.extra);
    if (path == "/")
        return answer(connection, MHD_HTTP_OK, page_, "text/html; charset=utf-8");
    if (path == "/events")
        return respond_with_stream(connection, method == MHD_HTTP_METHOD_HEAD);
    if (path != "/latest")
        return answer(connection, MHD_HTTP_NOT_FOUND, "The pages are /, /events and /latest.\n");
    const std::lock_guard lock(mutex_);
    if (latest_.empty())
        return answer(connection, MHD_HTTP_NO_CONTENT, "");
    return answer(connection, MHD_HTTP_OK, latest_ + '\n', "application/json");
}

MHD_Result Server::State::respond_with_stream(MHD_Connection *connection, bool is_head)
{
    if (is_head)
        return answer(connection, MHD_HTTP_OK, "", kEvents);
    const std::lock_guard lock(mutex_);
    if (streams_.size() >= kMostReaders)
        return answer(connection, MHD_HTTP_SERVICE_UNAVAILABLE,
                      "There are too many readers. Try again later.\n", "text/plain",
                      {MHD_HTTP_HEADER_RETRY_AFTER, "5"});
    auto stream = std::make_unique<Stream>(Stream{this, connection, log_.join(), beats_});
    MHD_Response *const response = MHD_create_response_from_callback(
        MHD_SIZE_UNKNOWN, kPiece, on_read, stream.get(), on_end_of_stream);
    if (response == nullptr)
        return MHD_NO;
    streams_.insert(stream.release());
    deadlines_.erase(descriptor_of(connection));
    return answer(connection, MHD_HTTP_OK, response, kEvents);
}

ssize_t Server::State::on_read(void *stream, uint64_t /*position*/, char *bytes, size_t most)
try {
    Stream &reader = *static_cast<Stream *>(stream);
    return reader.state->read(reader, bytes, most);
} catch (const std::bad_alloc &) {
    return MHD_CONTENT_READER_END_WITH_ERROR;
}

ssize_t Server::State::read(Stream &stream, char *bytes, size_t most)
{
    const std::lock_guard lock(mutex_);
    if (stream.sent == stream.text.size() && !find_text(stream)) {
        if (is_ending_)
            return MHD_CONTENT_READER_END_OF_STREAM;
        stream.is_suspended = true;
        MHD_suspend_connection(stream.connection);
        return 0;
    }
    const size_t count = stream.text.copy(bytes, most, stream.sent);
    stream.sent += count;
    return static_cast<ssize_t>(count);
}

bool Server::State::find_text(Stream &stream)
{
    const std::optional<EventLog::Event> event = log_.take(stream.reader);
    const bool is_silent = std::exchange(stream.beats, beats_) != beats_;
    if (!event && !is_silent)
        return false;
    stream.sent = 0;
    stream.text = event ? event->text : ":\n\n"; // a comment, which readers ignore
    if (event && event->lost > 0)
        stream.text.insert(
            0, event_text("{\"type\":\"lost\",\"events\":" + std::to_string(event->lost) + '}',
                          "lost"));
    return true;
}

void Server::State::on_end_of_stream(void *stream)
{
    const std::unique_ptr<Stream> reader(static_cast<Stream *>(stream));
    State &state = *reader->state;
    const std::lock_guard lock(state.mutex_);
    state.streams_.erase(reader.get());
    if (state.streams_.empty())
        state.all_ended_.notify_all();
}

void Server::State::on_connection(void *state, MHD_Connection *connection,
                                  void ** /*connection_data*/, MHD_ConnectionNotificationCode event)
{
    State &server = *static_cast<State *>(state);
    const int descriptor = descriptor_of(connection);
    const std::lock_guard lock(server.mutex_);
    if (event == MHD_CONNECTION_NOTIFY_CLOSED) {
        server.deadlines_.erase(descriptor);
        return;
    }
    server.deadlines_[descriptor] = Clock::now() + kRequestTime;
    const unsigned gone = kStalled * 1000; // ms without a sign of life from the other computer
    setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof kSendBuffer);
    setsockopt(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, &gone, sizeof gone);
}

// Ends requests that take too long, even if they send a byte now and then. Sends signs of life on
// silent streams, which also finds readers that are gone.
void Server::State::keep_house()
{
    std::unique_lock lock(mutex_);
    Clock::time_point beat = Clock::now() + kBeat;
    while (!is_over_.wait_for(lock, milliseconds(250), [this] { return is_ending_; })) {
        const Clock::time_point now = Clock::now();
        for (const auto &[descriptor, deadline] : deadlines_)
            if (now >= deadline)
                shutdown(descriptor, SHUT_RDWR); // libmicrohttpd then closes it
        if (now < beat)
            continue;
        beat = now + kBeat;
        ++beats_;
        wake_streams();
    }
}

Server::Server(ListeningSocket &socket, const std::string &page)
    : state_(std::make_unique<State>(socket, page))
{
}

Server::~Server() = default;

void Server::add(EventLog::Kind kind, const std::string &json, const std::string &name)
{
    state_->add(kind, event_text(json, name));
}

void Server::set_latest(const std::string &json)
{
    state_->set_latest(json);
}

uint64_t Server::lost() const
{
    return state_->lost();
}
