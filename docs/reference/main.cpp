#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"
#include "docs/reference/json_schema.h"
#include "docs/reference/output_page.h"

namespace blindfold {
namespace {
namespace fs = std::filesystem;

constexpr const char* usage = "usage: record_reference [--check] SOURCES\n";
constexpr int usageStatus = 64;

/// The documents: their paths, relative to the top of the sources, and their contents.
std::map<fs::path, std::string> documents() {
  RecordCatalogue catalogue;
  catalogue.add<HoldState>();
  catalogue.add<OperationResult>();
  catalogue.add<DetectionResult>();
  catalogue.add<HoldRequest>();

  std::map<fs::path, std::string> documents{{"docs/output.md", outputPage(catalogue)}};
  const fs::path schemas = "share/blindfold/schemas";
  for (const std::string name :
       {"HoldState", "OperationResult", "DetectionResult", "HoldRequest"}) {
    documents[schemas / (name + ".json")] = jsonSchema(catalogue, name, SchemaForm::open);
    documents[schemas / (name + ".exact.json")] = jsonSchema(catalogue, name, SchemaForm::exact);
  }
  return documents;
}

/// The file's contents; empty when it cannot be read.
std::string contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void write(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file << text;
  if (!file.flush()) throw std::runtime_error(path.string() + " cannot be written");
}

/// Whether every document in `sources` is what the tables say; names those that are not.
bool areCurrent(const fs::path& sources) {
  bool areCurrent = true;
  for (const auto& [path, text] : documents()) {
    if (contents(sources / path) == text) continue;
    std::fprintf(stderr, "%s is not current: run scripts/write-reference\n", path.c_str());
    areCurrent = false;
  }
  return areCurrent;
}

void writeAll(const fs::path& sources) {
  for (const auto& [path, text] : documents()) write(sources / path, text);
}

int run(int argumentCount, char** arguments) {
  const bool checks = argumentCount > 1 && std::string_view(arguments[1]) == "--check";
  if (argumentCount != (checks ? 3 : 2)) {
    std::fputs(usage, stderr);
    return usageStatus;
  }
  const fs::path sources = arguments[argumentCount - 1];
  if (checks) return areCurrent(sources) ? 0 : 1;
  writeAll(sources);
  return 0;
}
}  // namespace
}  // namespace blindfold

/// Writes the documents that are made from the records' tables, or checks that they are current.
int main(int argumentCount, char** arguments) {
  try {
    return blindfold::run(argumentCount, arguments);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "record_reference: %s\n", error.what());
    return 1;
  }
}
