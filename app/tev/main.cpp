#include "Lbt/Util/FileAccess.h"
#include "tev/RunTev.h"

int main(int argc, char** argv) {
  Lbt::Util::FillStandardDescriptors();
  return RunTev(argc, argv);
}
