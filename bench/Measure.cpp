// Runs a program once and prints how long it took, on the clock and of the processor, how much
// memory it had and how it ended:
//
//   bench_measure OUTPUT PROGRAM [ARGUMENT...]
//
// Standard output of the program goes to OUTPUT, its standard error to /dev/null. Prints "SECONDS
// PROCESSOR_SECONDS PEAK_KIB STATUS". A child's peak counts the memory of the process that started
// it, so this one is as small as it can be; an interpreter would hide what small programs take.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace {

using Clock = std::chrono::steady_clock;

/// Where the descriptors of the child lead.
class Redirections {
 public:
  explicit Redirections(const char* output) {
    posix_spawn_file_actions_init(&actions_);
    Open(STDIN_FILENO, "/dev/null", O_RDONLY);
    Open(STDOUT_FILENO, output, O_WRONLY | O_CREAT | O_TRUNC);
    Open(STDERR_FILENO, "/dev/null", O_WRONLY);
  }
  ~Redirections() { posix_spawn_file_actions_destroy(&actions_); }
  Redirections(const Redirections&) = delete;
  Redirections& operator=(const Redirections&) = delete;

  [[nodiscard]] const posix_spawn_file_actions_t* Get() const { return &actions_; }

 private:
  void Open(int descriptor, const char* path, int flags) {
    constexpr mode_t kMode = 0644;
    posix_spawn_file_actions_addopen(&actions_, descriptor, path, flags, kMode);
  }

  posix_spawn_file_actions_t actions_{};
};

double SecondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs("usage: bench_measure OUTPUT PROGRAM [ARGUMENT...]\n", stderr);
    return 1;
  }
  const Redirections redirections(argv[1]);
  const auto start = Clock::now();
  pid_t child = 0;
  if (posix_spawnp(&child, argv[2], redirections.Get(), nullptr, argv + 2, environ) != 0) {
    std::fprintf(stderr, "bench_measure: cannot start %s\n", argv[2]);
    return 1;
  }
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child) {
    return 1;
  }
  const std::chrono::duration<double> seconds = Clock::now() - start;
  std::printf("%.6f %.6f %ld %d\n", seconds.count(),
              SecondsOf(usage.ru_utime) + SecondsOf(usage.ru_stime), usage.ru_maxrss,
              WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status));
}
