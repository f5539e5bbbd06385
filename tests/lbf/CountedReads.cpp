// Stands in the place of the C library's pread, and counts its calls.

#include "CountedReads.h"

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>

namespace {

std::atomic<long> theReads = 0;
std::atomic<long> theBytes = 0;

}  // namespace

extern "C" ssize_t pread(int descriptor, void* destination, std::size_t size, off_t position);
extern "C" ssize_t pread(int descriptor, void* destination, std::size_t size, off_t position) {
  const long read = syscall(SYS_pread64, descriptor, destination, size, position);
  ++theReads;
  theBytes += read > 0 ? read : 0;
  return read;
}

namespace tevtest {

CountedReads::CountedReads() : readsBefore_(theReads), bytesBefore_(theBytes) {}

long CountedReads::Reads() const { return theReads - readsBefore_; }

long CountedReads::Bytes() const { return theBytes - bytesBefore_; }

}  // namespace tevtest
