// The program tev.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>

#include "Lbt/Util/FileAccess.h"
#include "Lbt/Util/MemoryUsage.h"
#include "tev/Verbs.h"

namespace {

/// The JSON library takes memory to free its values, in destructors, from which nothing can be
/// thrown: a lack of memory there ends up here, and ends the run like any other.
[[noreturn]] void EndWithoutMemory() {
  try {
    if (const std::exception_ptr exception = std::current_exception()) {
      std::rethrow_exception(exception);
    }
  } catch (const std::bad_alloc&) {
    std::cerr << "tev: not enough memory" << std::endl;
    std::_Exit(static_cast<int>(Status::FileFailed));
  } catch (...) {
    // Whatever else it is has no place here and shows as what it is.
  }
  std::abort();
}

}  // namespace

int main(int argc, char** argv) {
  std::set_terminate(EndWithoutMemory);
  Lbt::Util::ReturnLargePieces();
  Lbt::Util::FillStandardDescriptors();
  Lbt::Util::IgnoreFileSizeSignal();
  return RunTev(argc, argv);
}
