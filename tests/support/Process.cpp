// Runs programs and forked children, with redirections and limits.

#include "Process.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/close_range.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace tevtest {
namespace {

using Clock = std::chrono::steady_clock;

constexpr uid_t kNobody = 65534;

void Check(bool ok, const std::string& what) {
  if (!ok)
    throw std::system_error(errno, std::generic_category(), what);
}

/// An owned descriptor above the standard ones, closed on exec.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int opened) : value_(::fcntl(opened, F_DUPFD_CLOEXEC, 3)) {
    const int error = errno;
    ::close(opened);
    errno = error;
    Check(value_ >= 0, "fcntl");
  }
  ~Descriptor() { Close(); }
  Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }

  [[nodiscard]] int Get() const { return value_; }
  [[nodiscard]] bool IsOpen() const { return value_ >= 0; }
  void Close() {
    if (value_ >= 0)
      ::close(value_);
    value_ = -1;
  }

 private:
  int value_ = -1;
};

struct Pipe {
  Descriptor readEnd;
  Descriptor writeEnd;
};

Pipe MakePipe() {
  std::array<int, 2> ends{};
  Check(::pipe2(ends.data(), O_CLOEXEC) == 0, "pipe2");
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

/// The three channels from child to caller: its output, its errors, and why it could not start.
struct Channels {
  Pipe output = MakePipe();
  Pipe error = MakePipe();
  Pipe failure = MakePipe();
};

int OpenFor(int target, const std::string& path) {
  const int flags = target == STDIN_FILENO ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC;
  const int opened = ::open(path.c_str(), flags | O_CLOEXEC, 0644);
  Check(opened >= 0, "open " + path);
  return opened;
}

void Connect(int from, int target) { Check(::dup2(from, target) == target, "dup2"); }

/// A pipe end whose other end is closed: reading ends at once, writing fails.
Descriptor DeadEnd(int target) {
  Pipe pipe = MakePipe();
  return std::move(target == STDIN_FILENO ? pipe.readEnd : pipe.writeEnd);
}

void Apply(const Redirect& redirect, int target, const Descriptor& capture) {
  switch (redirect.kind) {
    case Redirect::Kind::Closed:
      ::close(target);
      return;
    case Redirect::Kind::Capture:
    case Redirect::Kind::Counted:
      if (capture.IsOpen())
        return Connect(capture.Get(), target);
      [[fallthrough]];
    case Redirect::Kind::Null:
      return Connect(Descriptor(OpenFor(target, "/dev/null")).Get(), target);
    case Redirect::Kind::Path:
      return Connect(Descriptor(OpenFor(target, redirect.path)).Get(), target);
    case Redirect::Kind::Descriptor:
      return Connect(redirect.descriptor, target);
    case Redirect::Kind::BrokenPipe:
      return Connect(DeadEnd(target).Get(), target);
  }
}

/// Brings every redirection into place. A caller's descriptor may itself be a standard one, so
/// copies are taken before the first is replaced.
void ApplyAll(const RunOptions& options, const Channels& channels) {
  std::array<Redirect, 3> redirects{options.input, options.output, options.error};
  std::vector<Descriptor> copies;
  for (Redirect& redirect : redirects) {
    if (redirect.kind != Redirect::Kind::Descriptor)
      continue;
    const int copy = ::dup(redirect.descriptor);
    Check(copy >= 0, "dup");
    redirect.descriptor = copies.emplace_back(copy).Get();
  }
  Apply(redirects[0], STDIN_FILENO, Descriptor());
  Apply(redirects[1], STDOUT_FILENO, channels.output.writeEnd);
  Apply(redirects[2], STDERR_FILENO, channels.error.writeEnd);
}

void ApplyEnvironment(const RunOptions& options) {
  for (const auto& [name, value] : options.environment) {
    const int failed = value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
    Check(failed == 0, "environment " + name);
  }
}

void ResetSignals() {
  for (int signal = 1; signal < NSIG; ++signal)
    ::signal(signal, SIG_DFL);
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// The signal comes at the soft limit; the hard one ends a program that ignores it.
void LimitProcessorTime(std::chrono::seconds most) {
  const auto seconds = static_cast<rlim_t>(most.count());
  const rlimit limit{seconds, seconds + 1};
  Check(::setrlimit(RLIMIT_CPU, &limit) == 0, "setrlimit");
}

void SetUpChild(const RunOptions& options, const Channels& channels) {
  ::setpgid(0, 0);
  ResetSignals();
  ApplyEnvironment(options);
  if (!options.workingDirectory.empty()) {
    Check(::chdir(options.workingDirectory.c_str()) == 0, "chdir " + options.workingDirectory);
  }
  ApplyAll(options, channels);
  LimitProcessorTime(options.processorTime);
  for (const ChildHook& hook : options.hooks)
    hook();
}

#if defined(TEVTEST_COUNTED)
extern "C" void __gcov_reset();
extern "C" void __gcov_dump();
#endif

/// With coverage counters: a child starts without those of its parent, and adds its own to the
/// files, which _exit() would leave out.
void ForgetCounters() {
#if defined(TEVTEST_COUNTED)
  __gcov_reset();
#endif
}

void HandOnCounters() {
#if defined(TEVTEST_COUNTED)
  __gcov_dump();
#endif
}

/// The life of the child; "body" does not return when it starts a program.
[[noreturn]] void LiveAsChild(const std::function<int()>& body, const RunOptions& options,
                              Channels& channels) {
  int status = 127;
  ForgetCounters();
  try {
    SetUpChild(options, channels);
    status = body();
    std::fflush(nullptr);
  } catch (const std::exception& failure) {
    const std::string text = failure.what();
    [[maybe_unused]] const auto n =
        ::write(channels.failure.writeEnd.Get(), text.data(), text.size());
  }
  HandOnCounters();
  ::_exit(status);
}

int Execute(const std::vector<std::string>& command) {
  std::vector<std::string> copies = command;
  std::vector<char*> arguments;
  for (std::string& copy : copies)
    arguments.push_back(copy.data());
  arguments.push_back(nullptr);
  ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
  ::execvp(arguments[0], arguments.data());
  throw std::system_error(errno, std::generic_category(), "exec " + command.at(0));
}

int MillisecondsUntil(Clock::time_point deadline) {
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return left <= 0 ? 0 : static_cast<int>(left) + 1;
}

/// What comes out of one channel: its text, unless only its length is wanted.
struct Sink {
  Descriptor* from = nullptr;
  std::string* text = nullptr;
  std::uint64_t* size = nullptr;
};

/// Reads what is there; closes the descriptor at its end.
void Drain(const Sink& sink) {
  std::array<char, 65536> buffer{};
  const ssize_t count = ::read(sink.from->Get(), buffer.data(), buffer.size());
  if (count < 0 && errno == EINTR)
    return;
  if (count <= 0)
    return sink.from->Close();
  if (sink.text != nullptr)
    sink.text->append(buffer.data(), static_cast<std::size_t>(count));
  if (sink.size != nullptr)
    *sink.size += static_cast<std::uint64_t>(count);
}

/// Collects all channels until each is closed or the time is up.
void Collect(const std::array<Sink, 3>& sinks, Clock::time_point deadline) {
  while (true) {
    std::array<pollfd, 3> polled{};
    bool anyOpen = false;
    for (std::size_t i = 0; i < sinks.size(); ++i) {
      polled[i] = {sinks[i].from->Get(), POLLIN, 0};  // poll skips negative descriptors
      anyOpen = anyOpen || sinks[i].from->IsOpen();
    }
    const int left = MillisecondsUntil(deadline);
    if (!anyOpen || left == 0)
      return;
    if (::poll(polled.data(), polled.size(), left) <= 0)
      continue;
    for (std::size_t i = 0; i < sinks.size(); ++i) {
      if (polled[i].revents != 0)
        Drain(sinks[i]);
    }
  }
}

std::chrono::microseconds InMicroseconds(const timeval& time) {
  return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

/// Waits for the child's end and kills it, with its process group, when the time is up.
void Await(pid_t child, Clock::time_point deadline, RunResult& result) {
  int status = 0;
  rusage usage{};
  pid_t ended = 0;
  while ((ended = ::wait4(child, &status, WNOHANG, &usage)) == 0) {
    if (!result.hung && MillisecondsUntil(deadline) == 0) {
      result.hung = true;
      ::kill(-child, SIGKILL);
      ::kill(child, SIGKILL);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  Check(ended == child, "wait4");
  if (WIFEXITED(status))
    result.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status))
    result.signal = WTERMSIG(status);
  result.processorTime = InMicroseconds(usage.ru_utime) + InMicroseconds(usage.ru_stime);
  result.peakKiB = usage.ru_maxrss;
}

}  // namespace

RunResult RunForked(const std::function<int()>& body, const RunOptions& options) {
  Channels channels;
  const Clock::time_point deadline = Clock::now() + options.hang;
  std::fflush(nullptr);  // or the child writes the caller's pending output again
  const pid_t child = ::fork();
  Check(child >= 0, "fork");
  if (child == 0)
    LiveAsChild(body, options, channels);

  ::setpgid(child, child);  // here too: whoever comes first
  for (Pipe* pipe : {&channels.output, &channels.error, &channels.failure})
    pipe->writeEnd.Close();
  RunResult result;
  std::string failure;
  const bool isCounted = options.output.kind == Redirect::Kind::Counted;
  Collect({{{&channels.output.readEnd, isCounted ? nullptr : &result.output, &result.outputSize},
            {&channels.error.readEnd, &result.error},
            {&channels.failure.readEnd, &failure}}},
          deadline);
  Await(child, deadline, result);
  if (!failure.empty())
    throw std::runtime_error("child: " + failure);
  return result;
}

RunResult RunProgram(const std::vector<std::string>& command, const RunOptions& options) {
  return RunForked([&command] { return Execute(command); }, options);
}

void RunAsUnprivileged() {
  if (::geteuid() != 0 && ::getuid() != 0)
    return;
  Check(::setgroups(0, nullptr) == 0, "setgroups");
  Check(::setgid(kNobody) == 0, "setgid");
  Check(::setuid(kNobody) == 0, "setuid");
  Check(::setuid(0) != 0, "root can be regained");
}

ChildHook Limit(int resource, rlim_t value) {
  return [resource, value] {
    const rlimit limit{value, value};
    Check(::setrlimit(static_cast<__rlimit_resource_t>(resource), &limit) == 0, "setrlimit");
  };
}

}  // namespace tevtest
