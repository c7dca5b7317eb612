// SPDX-License-Identifier: MIT
// parallel_inputs.cpp - forks a process per input, collects its output in temporary files, and
// prints it when all earlier inputs are done.

#include "commands/parallel_inputs.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <thread>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"
#include "output/progress.h"
#include "output/spool.h"

namespace {

using Clock = std::chrono::steady_clock;
using Work = std::function<void(const std::string &)>;

// Inputs that may be done while an earlier one is not: limits the number of temporary files.
constexpr size_t kLookAhead = 384;
constexpr timespec kPatience = {0, 100'000'000}; // between checks of interrupts and progress

double size_of(const std::string &file)
{
    std::error_code none_of_a_pipe;
    const std::uintmax_t size = std::filesystem::file_size(file, none_of_a_pipe);
    return none_of_a_pipe ? 0.0 : static_cast<double>(size);
}

// The process of one input, or its output that waits for its turn.
class Worker
{
public:
    // Forks. Failure if no process or temporary file can be made.
    Worker(const std::string &input, DataOutput &output, const Work &work);
    ~Worker();
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    bool is_running() const { return !wait_status_; }
    // Whether it has ended since the last call.
    bool has_just_ended();
    // Prints its results, if it was successful, and its messages; returns its exit status.
    int hand_on(DataOutput &output, bool skip_header, bool &has_results) const;

private:
    [[noreturn]] void work(DataOutput &output, const Work &work) const;

    std::string input_;
    Spool results_;
    Spool messages_;
    pid_t process_;
    std::optional<int> wait_status_;
};

Worker::Worker(const std::string &input, DataOutput &output, const Work &work) : input_(input)
{
    output.flush(); // unwritten output would be written by both processes
    const pid_t parent = getpid();
    process_ = fork();
    if (process_ < 0)
        throw Failure(std::string("cannot start a process: ") + std::strerror(errno));
    if (process_ > 0)
        return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(kError);
    this->work(output, work);
}

void Worker::work(DataOutput &output, const Work &work) const
{
    const int status = exit_status_of([&] {
        stop_watching_for_interrupts();
        send_messages_to(messages_.descriptor());
        output.collect(results_.descriptor());
        work(input_);
        output.flush();
        return kDone;
    });
    // Without destructors, because objects such as unfinished files belong to the parent.
    _exit(status);
}

Worker::~Worker()
{
    if (!is_running())
        return;
    kill(process_, SIGKILL);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR)
        continue;
}

bool Worker::has_just_ended()
{
    int status = 0;
    if (!is_running() || waitpid(process_, &status, WNOHANG) != process_)
        return false;
    wait_status_ = status;
    return true;
}

int Worker::hand_on(DataOutput &output, bool skip_header, bool &has_results) const
{
    const int status = WIFEXITED(*wait_status_) ? WEXITSTATUS(*wait_status_) : int{kError};
    if (status == kDone)
        has_results = results_.read(
            skip_header, [&](const char *bytes, size_t count) { output.write(bytes, count); });
    output.flush();
    char last = '\0';
    messages_.read(false, [&last](const char *bytes, size_t count) {
        std::fwrite(bytes, 1, count, stderr);
        last = bytes[count - 1];
    });
    if (WIFEXITED(*wait_status_) && status != kDone && last != '\n')
        note(input_ + ": its process failed without saying why; is there room for temporary files? "
                      "TMPDIR chooses their directory");
    if (WIFSIGNALED(*wait_status_)) {
        const int signal = WTERMSIG(*wait_status_);
        note(format_text("%s: its process was ended by signal %d (%s)%s", input_.c_str(), signal,
                         strsignal(signal),
                         signal == SIGKILL ? "; if memory is short, try a smaller -j" : ""));
    }
    return status;
}

// Runs the workers of all inputs, and prints their output in order.
class Crew
{
public:
    Crew(const ParallelInputs &task, DataOutput &output, const Work &work);
    ~Crew();
    Crew(const Crew &) = delete;
    Crew &operator=(const Crew &) = delete;

    int run(size_t &done);

private:
    bool has_more() const { return handed_on_ < task_.inputs.size(); }
    void start();
    void wait();
    void hand_on(size_t &done);
    void show_progress();
    [[noreturn]] void end_interrupted(size_t done) const;

    const ParallelInputs &task_;
    DataOutput &output_;
    const Work &work_;
    Progress progress_;
    sigset_t mask_before_{};
    size_t jobs_;
    size_t running_ = 0;
    size_t ended_ = 0;
    size_t handed_on_ = 0;
    std::deque<std::unique_ptr<Worker>> workers_; // of the inputs from handed_on_ on
    bool has_header_ = false;                     // whether the output has one yet
    int status_ = kDone;
    Clock::time_point began_ = Clock::now();
    double all_bytes_ = 0.0;
    double done_bytes_ = 0.0;
};

size_t default_jobs()
{
    return std::clamp(std::thread::hardware_concurrency(), 1u, unsigned{kMostJobs});
}

// SIGCHLD, the end of a worker, is blocked except in wait().
Crew::Crew(const ParallelInputs &task, DataOutput &output, const Work &work)
    : task_(task), output_(output), work_(work), progress_(!task.quiet),
      jobs_(task.jobs > 0 ? static_cast<size_t>(task.jobs) : default_jobs())
{
    std::signal(SIGCHLD, SIG_DFL); // if it were ignored, waiting for a worker would fail
    sigset_t child;
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    sigprocmask(SIG_BLOCK, &child, &mask_before_);
    for (const std::string &input : task.inputs)
        all_bytes_ += size_of(input);
}

Crew::~Crew()
{
    workers_.clear(); // before SIGCHLD is unblocked
    sigprocmask(SIG_SETMASK, &mask_before_, nullptr);
}

int Crew::run(size_t &done)
{
    while (has_more()) {
        start();
        wait();
        if (interrupts() > 0)
            end_interrupted(done);
        hand_on(done);
        show_progress();
    }
    return status_;
}

void Crew::start()
{
    const auto next = [this] { return handed_on_ + workers_.size(); };
    while (running_ < jobs_ && next() < task_.inputs.size() && workers_.size() < kLookAhead) {
        try {
            workers_.push_back(std::make_unique<Worker>(task_.inputs[next()], output_, work_));
        } catch (const Failure &) {
            if (workers_.empty())
                throw;
            return; // retried when a running worker has freed its resources
        }
        ++running_;
    }
}

void Crew::wait()
{
    sigset_t child;
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    sigtimedwait(&child, nullptr, &kPatience); // an interrupt ends it, too
    for (size_t i = 0; i < workers_.size(); ++i) {
        if (!workers_[i]->has_just_ended())
            continue;
        --running_;
        ++ended_;
        done_bytes_ += size_of(task_.inputs[handed_on_ + i]);
    }
}

void Crew::hand_on(size_t &done)
{
    while (!workers_.empty() && !workers_.front()->is_running()) {
        clear_line(); // for the messages of the worker
        bool has_results = false;
        const int status = workers_.front()->hand_on(output_, has_header_, has_results);
        has_header_ = has_header_ || (task_.has_header && has_results);
        status_ = std::max(status_, status);
        done += status == kDone ? 1 : 0;
        workers_.pop_front();
        ++handed_on_;
    }
}

void Crew::show_progress()
{
    if (!progress_.is_due())
        return;
    std::string text = format_text("%zu of %s", ended_,
                                   counted(static_cast<long>(task_.inputs.size()), "file").c_str());
    if (done_bytes_ > 0.0) {
        const double seconds = std::chrono::duration<double>(Clock::now() - began_).count();
        text += ", " + rough_time(seconds * (all_bytes_ / done_bytes_ - 1.0)) + " left";
    }
    progress_.show(text);
}

void Crew::end_interrupted(size_t done) const
{
    note(format_text("interrupted with %zu of %s done%s", done,
                     counted(static_cast<long>(task_.inputs.size()), "file").c_str(),
                     output_.is_pending() ? "; the output was not written" : ""));
    throw EndWith{kInterrupted};
}

} // namespace

int ParallelInputs::run(DataOutput &output, const std::function<void(const std::string &)> &work,
                        size_t &done) const
{
    return Crew(*this, output, work).run(done);
}
