// Loaded into a program in front of its libraries (LD_PRELOAD): makes one call of malloc and its
// kin, or one read of a model, fail, or moves the clock. Counting starts with main(): what runs
// before, the loader and the constructors of static objects, has no way yet to end but the
// runtime's own. Models are what is read at a position and cannot be written to.
//
//   TEVTEST_FAULT  "malloc": no memory; "read-error": the read fails; "read-end": the file ends
//                  after half of what is read; "read-held": the read waits until somebody
//                  has removed the mark, ten minutes at most; "count": nothing fails, and the mark
//                  tells how many models were opened and how often they were read, such as
//                  "opens 1 reads 2"; "late": all of the run is in a year that has more than four
//                  digits; "slow": each look at the clock that nobody sets finds it a second
//                  further on; "no-exchange": no two names can be swapped, as on some file systems;
//                  "killed": the process is killed when it inflates; "touched": whenever it
//                  inflates, somebody writes to TEVTEST_PATH; "disk-full": from the call on,
//                  nothing more can be written to a place in a file
//   TEVTEST_CALL   the number of the call, from 1
//   TEVTEST_MARK   a file that is created when that call is made
//   TEVTEST_PATH   a file that is touched

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

// The allocator under the names that this library takes over.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace {

enum class Fault {
  None,
  Malloc,
  ReadError,
  ReadEnd,
  ReadHeld,
  Count,
  Late,
  Slow,
  NoExchange,
  Killed,
  Touched,
  DiskFull
};

struct State {
  Fault fault = Fault::None;
  long callsLeft = 0;
  const char* mark = nullptr;
  std::time_t delay = 0;
  long opens = 0;
  long reads = 0;
  off_t end = -1;  // where files end from now on
};

// Plain data without a constructor that runs: the first calls come before any could.
State& TheState() {
  static constinit State state;
  return state;
}

Fault FaultOf(const char* name) {
  if (name == nullptr)
    return Fault::None;
  if (std::strcmp(name, "malloc") == 0)
    return Fault::Malloc;
  if (std::strcmp(name, "late") == 0)
    return Fault::Late;
  if (std::strcmp(name, "slow") == 0)
    return Fault::Slow;
  if (std::strcmp(name, "no-exchange") == 0)
    return Fault::NoExchange;
  if (std::strcmp(name, "killed") == 0)
    return Fault::Killed;
  if (std::strcmp(name, "touched") == 0)
    return Fault::Touched;
  if (std::strcmp(name, "disk-full") == 0)
    return Fault::DiskFull;
  if (std::strcmp(name, "count") == 0)
    return Fault::Count;
  if (std::strcmp(name, "read-held") == 0)
    return Fault::ReadHeld;
  return std::strcmp(name, "read-error") == 0 ? Fault::ReadError : Fault::ReadEnd;
}

void Start() {
  const char* call = std::getenv("TEVTEST_CALL");
  State& state = TheState();
  state.callsLeft = call == nullptr ? 0 : std::atol(call);
  state.mark = std::getenv("TEVTEST_MARK");
  state.fault = FaultOf(std::getenv("TEVTEST_FAULT"));
}

void LeaveMark() {
  const char* mark = TheState().mark;
  if (mark != nullptr)
    ::close(::open(mark, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
}

/// Counts a call and says whether it is the one that fails.
bool IsReached() {
  if (--TheState().callsLeft != 0)
    return false;
  const int error = errno;
  LeaveMark();
  errno = error;
  return true;
}

bool IsMallocFailing() {
  if (TheState().fault != Fault::Malloc || !IsReached())
    return false;
  errno = ENOMEM;
  return true;
}

template <class Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

bool IsAModel(int descriptor) {
  const int flags = ::fcntl(descriptor, F_GETFL);
  return flags >= 0 && (flags & O_ACCMODE) == O_RDONLY;
}

bool IsNamedAsModel(const char* path) {
  const std::size_t length = std::strlen(path);
  return length > 4 && std::strcmp(path + length - 4, ".tev") == 0;
}

void TellCounts() {
  const State& state = TheState();
  const int mark = ::open(state.mark, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  ::dprintf(mark, "opens %ld reads %ld", state.opens, state.reads);
  ::close(mark);
}

void WaitUntilTheMarkIsGone() {
  constexpr useconds_t kStep = 500;
  constexpr int kSteps = 600 * 1000000 / kStep;
  const char* mark = TheState().mark;
  for (int i = 0; i < kSteps && mark != nullptr && ::access(mark, F_OK) == 0; ++i)
    ::usleep(kStep);
}

using Main = int (*)(int, char**, char**);

Main& TheMain() {
  static Main main = nullptr;
  return main;
}

int CountedMain(int count, char** arguments, char** environment) {
  Start();
  const int status = TheMain()(count, arguments, environment);
  if (TheState().fault == Fault::Count)
    TellCounts();
#if defined(TEVTEST_COUNTED)
  // Coverage counters are written after main, by calls that are not the program's own.
  TheState().fault = Fault::None;
#endif
  return status;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) { return IsMallocFailing() ? nullptr : __libc_malloc(size); }

void* calloc(std::size_t count, std::size_t size) {
  return IsMallocFailing() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) {
  return IsMallocFailing() ? nullptr : __libc_realloc(memory, size);
}

int open(const char* path, int flags, ...) {
  using Function = int (*)(const char*, int, ...);
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (IsNamedAsModel(path))
    ++TheState().opens;
  return Next<Function>("open")(path, flags, mode);
}

ssize_t pread(int descriptor, void* destination, std::size_t size, off_t position) {
  using Function = ssize_t (*)(int, void*, std::size_t, off_t);
  State& state = TheState();
  if (IsAModel(descriptor)) {
    ++state.reads;
    const bool isOfReads = state.fault == Fault::ReadError || state.fault == Fault::ReadEnd ||
                           state.fault == Fault::ReadHeld;
    if (isOfReads && IsReached()) {
      if (state.fault == Fault::ReadError) {
        errno = EIO;
        return -1;
      }
      if (state.fault == Fault::ReadHeld)
        WaitUntilTheMarkIsGone();
      else
        state.end = position + static_cast<off_t>(size / 2);
    }
    if (state.end >= 0)
      size = std::min(size, static_cast<std::size_t>(std::max<off_t>(state.end - position, 0)));
  }
  return Next<Function>("pread")(descriptor, destination, size, position);
}

int inflate(void* stream, int flush) {
  using Function = int (*)(void*, int);
  const Fault fault = TheState().fault;
  if (fault == Fault::Killed && IsReached())
    ::kill(::getpid(), SIGKILL);
  if (fault == Fault::Touched)
    ::utimensat(AT_FDCWD, std::getenv("TEVTEST_PATH"), nullptr, 0);
  return Next<Function>("inflate")(stream, flush);
}

ssize_t pwrite64(int file, const void* bytes, std::size_t size, off64_t place) {
  using Function = ssize_t (*)(int, const void*, std::size_t, off64_t);
  State& state = TheState();
  if (state.fault == Fault::DiskFull && (state.callsLeft <= 0 || IsReached())) {
    errno = ENOSPC;
    return -1;
  }
  return Next<Function>("pwrite64")(file, bytes, size, place);
}

std::time_t time(std::time_t* result) {
  constexpr std::time_t kFarOff = 316516464000;  // about the year 12000
  std::timespec now{};
  std::timespec_get(&now, TIME_UTC);
  const std::time_t seconds = TheState().fault == Fault::Late ? kFarOff : now.tv_sec;
  if (result != nullptr)
    *result = seconds;
  return seconds;
}

int clock_gettime(clockid_t clock, std::timespec* result) {
  using Function = int (*)(clockid_t, std::timespec*);
  const int status = Next<Function>("clock_gettime")(clock, result);
  if (status == 0 && clock == CLOCK_MONOTONIC && TheState().fault == Fault::Slow)
    result->tv_sec += ++TheState().delay;
  return status;
}

int renameat2(int oldFolder, const char* oldName, int newFolder, const char* newName,
              unsigned int flags) {
  using Function = int (*)(int, const char*, int, const char*, unsigned int);
  if (TheState().fault == Fault::NoExchange && (flags & RENAME_EXCHANGE) != 0) {
    errno = EINVAL;
    return -1;
  }
  return Next<Function>("renameat2")(oldFolder, oldName, newFolder, newName, flags);
}

int __libc_start_main(Main main, int count, char** arguments, void (*start)(), void (*finish)(),
                      void (*finishLoader)(), void* stackEnd) {
  using Function = int (*)(Main, int, char**, void (*)(), void (*)(), void (*)(), void*);
  TheMain() = main;
  return Next<Function>("__libc_start_main")(CountedMain, count, arguments, start, finish,
                                             finishLoader, stackEnd);
}

}  // extern "C"
