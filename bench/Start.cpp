// The least that a program does that opens a file and says something about it: what the start of
// TevInfo is measured against.

#include <fstream>
#include <iostream>

int main(int argc, char** argv) {
  const std::ifstream file(argc > 1 ? argv[1] : "", std::ios::binary);
  std::cout << (file ? "The file is open." : "The file cannot be opened.") << std::endl;
  return file ? 0 : 1;
}
