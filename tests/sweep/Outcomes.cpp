// Runs everything on one file and names how each ends.

#include "Outcomes.h"

#include <array>
#include <exception>
#include <ostream>
#include <set>
#include <stdexcept>
#include <streambuf>
#include <typeinfo>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/CdfExport.h"
#include "Lbt/Tev/TevInfo/Entries.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "Lbt/Util/Exception.h"
#include "tev/Verbs.h"

namespace {

using LbtTev::Report::GeometryAssertion;
using LbtTev::Report::ModelFacts;
using LbtTev::Report::Numbers;

/// A stream that takes any text and keeps none.
class NullBuffer : public std::streambuf {
  int_type overflow(int_type character) override { return traits_type::not_eof(character); }
  std::streamsize xsputn(const char* /*text*/, std::streamsize count) override { return count; }
};

/// How a work ends, by name.
template <class Work>
std::string EndOf(Work work) {
  try {
    work();
    return "done";
  } catch (const Lbt::Util::Exception& exception) {
    return Lbt::Util::Exception::GetDescription(exception.GetType());
  } catch (const GeometryAssertion&) {
    return "assertion";
  } catch (const std::out_of_range&) {
    return "out of range";
  } catch (const std::bad_alloc&) {
    return "bad alloc";
  } catch (const std::exception& exception) {
    // The library throws the bare type for a block that zlib refuses, and nothing else.
    return typeid(exception) == typeid(std::exception) ? "zlib" : "not allowed";
  }
}

/// As the program reports; a failure on the way shows once the report is written.
void Report(const LbtTev::Tree& tree, TevInfo::Format format) {
  TevInfo info;
  info.setFormat(format);
  const bool isDump = format == TevInfo::ExtractData;
  const ModelFacts facts = GatherModelFacts(tree, isDump ? Numbers::Wanted : Numbers::Left);
  LbtTev::Report::AddEntries(info, facts);
  NullBuffer buffer;
  std::ostream stream(&buffer);
  stream << info.getMetadataString();
  info.printData(stream);
  if (!facts.failures.empty()) {
    std::rethrow_exception(facts.failures.front());
  }
}

void Export(const LbtTev::Tree& tree) {
  std::set<std::string> names;
  for (const auto& [id, entry] : tree.GetNodes()) {
    if (dynamic_cast<const LbtTev::Geometry*>(entry.data) != nullptr) {
      names.insert(entry.data->name);
    }
  }
  NullBuffer buffer;
  std::ostream stream(&buffer);
  for (const std::string& name : names) {
    LbtTev::Report::WriteCdf(tree, name, stream);
  }
}

/// By exit status: a file that is refused is a failed file, never bad usage.
std::string EndOfTev(const char* command, const std::string& path) {
  const std::array<const char*, 3> arguments{"tev", command, path.c_str()};
  int status = 0;
  const std::string end =
      EndOf([&] { status = RunTev(static_cast<int>(arguments.size()), arguments.data()); });
  if (end != "done" || (status != 0 && status != 2)) {
    return "not allowed: " + end + " with status " + std::to_string(status);
  }
  return status == 0 ? "done" : "failed";
}

}  // namespace

void TryEverything(const std::string& path, Outcomes& outcomes) {
  LbtTev::Tree tree;
  const std::string opened = EndOf([&] { LbtTev::OpenModel(tree, path); });
  ++outcomes["open: " + opened];
  // What was loaded before a failure is worth a report, too: nothing in it may dangle.
  ++outcomes["report: " + EndOf([&] { Report(tree, TevInfo::NativeMetaData); })];
  ++outcomes["dump: " + EndOf([&] { Report(tree, TevInfo::ExtractData); })];
  ++outcomes["export: " + EndOf([&] { Export(tree); })];
  for (const char* command : {"list", "info", "tree", "results", "sets", "check", "blocks"}) {
    ++outcomes[std::string("tev ") + command + ": " + EndOfTev(command, path)];
  }
}
