// Packs the template of the page, its style and its scripts into a source file, when the programs
// are built.

#include <openssl/evp.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t kPiece = 16000;  // of a literal, which compilers bound

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot open " + path);
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string Base64(const std::string& bytes) {
  std::vector<unsigned char> in(bytes.begin(), bytes.end());
  std::vector<unsigned char> out((bytes.size() + 2) / 3 * 4 + 1);
  const int size = EVP_EncodeBlock(out.data(), in.data(), static_cast<int>(in.size()));
  return {out.begin(), out.begin() + size};
}

std::string Hash(const std::string& text) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int size = 0;
  if (EVP_Digest(text.data(), text.size(), digest.data(), &size, EVP_sha256(), nullptr) != 1) {
    throw std::runtime_error("SHA-256 fails");
  }
  return Base64({digest.begin(), digest.begin() + size});
}

std::string Deflated(const std::string& text) {
  std::vector<unsigned char> in(text.begin(), text.end());
  std::vector<unsigned char> out(compressBound(in.size()));
  uLongf size = out.size();
  if (compress2(out.data(), &size, in.data(), in.size(), Z_BEST_COMPRESSION) != Z_OK) {
    throw std::runtime_error("deflating fails");
  }
  return {out.begin(), out.begin() + static_cast<std::ptrdiff_t>(size)};
}

std::string Block(const std::string& name, std::span<const std::string> files) {
  std::string text;
  for (const std::string& file : files) {
    text += ReadFile(file) + '\n';
  }
  return "<script type=\"application/octet-stream\" id=\"block-" + name + "\">" +
         Base64(Deflated(text)) + "</script>\n";
}

void Replace(std::string& page, std::string_view mark, const std::string& text) {
  const std::size_t place = page.find(mark);
  if (place == std::string::npos) {
    throw std::runtime_error("the template lacks " + std::string(mark));
  }
  page.replace(place, mark.size(), text);
}

/// A literal of any bytes.
std::string Literal(std::string_view text) {
  std::string literal = "\"";
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (character == '\\' || character == '"') {
      (literal += '\\') += character;
    } else if (code < ' ' || code > '~' || character == '?') {
      literal += '\\';
      for (const unsigned int shift : {6U, 3U, 0U}) {
        literal += static_cast<char>('0' + ((code >> shift) & 7U));
      }
    } else {
      literal += character;
    }
  }
  return literal + "\"";
}

void WriteSource(const std::string& path, std::string_view page) {
  std::ofstream out(path, std::ios::binary);
  out << "// The page without what it shows. Generated: do not edit.\n\n"
         "#include \"PageTemplate.h\"\n\n"
         "namespace LbtTev::View {\n\n"
         "std::string PageTemplate() {\n"
         "  std::string page;\n";
  for (std::size_t i = 0; i < page.size(); i += kPiece) {
    out << "  page +=\n      " << Literal(page.substr(i, kPiece)) << ";\n";
  }
  out << "  return page;\n}\n\n}  // namespace LbtTev::View\n";
  out.flush();
  if (!out) {
    throw std::runtime_error("cannot write " + path);
  }
}

/// OUTPUT TEMPLATE STYLE STARTER LIBRARY... -- VIEWER...
void Pack(std::span<const std::string> files) {
  const auto library = files.subspan(4);
  const auto end = std::ranges::find(library, "--");
  const auto ofLibrary = static_cast<std::size_t>(end - library.begin());
  std::string page = ReadFile(files[1]);
  const std::string style = ReadFile(files[2]);
  const std::string starter = ReadFile(files[3]);
  Replace(page, "@SCRIPT_HASH@", Hash(starter));
  Replace(page, "@STYLE_HASH@", Hash(style));
  Replace(page, "@STYLE@", style);
  Replace(page, "@SCRIPT@", starter);
  Replace(page, "@BLOCKS@",
          Block("library", library.first(ofLibrary)) +
              Block("viewer", library.subspan(ofLibrary + 1)) + "@BLOCKS@");
  WriteSource(files[0], page);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::vector<std::string> files(argv + 1, argv + argc);
    if (files.size() < 6 || std::ranges::find(files, "--") == files.end()) {
      throw std::runtime_error(
          "usage: pack_page OUTPUT TEMPLATE STYLE STARTER LIBRARY... -- VIEWER...");
    }
    Pack(files);
    return 0;
  } catch (const std::exception& exception) {
    std::cerr << "pack_page: " << exception.what() << '\n';
    return 1;
  }
}
