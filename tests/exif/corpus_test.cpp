// Every real and malformed camera file of tests/data/exif through both
// parameter entry points and the document reader, writer and source-mark
// check: a status from the entry points' table, the one recorded for the
// file in exif/expected_status.txt, and well under a second each. Set
// ZKIMGSET_PRINT_EXIF_STATUS=1 to print the table as the readers see it.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "exif/exif_document.h"
#include "exif/exif_params.h"
#include "exif/exif_writer.h"
#include "exif/source_mark.h"

namespace {

namespace fs = std::filesystem;
using namespace zkimgset::exif;

const fs::path kExifData = fs::path(ZKIMGSET_TEST_DATA_DIR) / "exif";

struct Outcome {
  int basic = -1;
  int extended = -1;
  Code document = 0;
  int mark = -1;  // -1: no block was written
  bool operator==(const Outcome&) const = default;
};

std::string line_of(const std::string& name, const Outcome& o) {
  char text[512];
  std::snprintf(text, sizeof text, "%s %d %d 0x%X %d", name.c_str(), o.basic, o.extended,
                o.document, o.mark);
  return text;
}

std::map<std::string, Outcome> expected_table() {
  std::map<std::string, Outcome> table;
  std::ifstream in(kExifData / "expected_status.txt");
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string name, document;
    Outcome o;
    fields >> name >> o.basic >> o.extended >> document >> o.mark;
    o.document = static_cast<Code>(std::stoul(document, nullptr, 16));
    table[name] = o;
  }
  return table;
}

Outcome run(const fs::path& path) {
  zkimgset::LibraryState state;
  Outcome o;
  ExifParam basic;
  ExifParamEx extended;
  o.basic = get_exif_param(state, path.string().c_str(), &basic);
  o.extended = get_exif_param_ex(state, path.string().c_str(), &extended);
  ExifDocument document;
  o.document = read_document(document, path.string().c_str());
  std::vector<std::uint8_t> text(1 << 20);
  ExifFileStream out;
  out.open_memory(std::span<std::uint8_t>(text));
  dump_document(document, out);
  std::size_t size = 0;
  if (o.document == code::kOk && written_size(document, size) == code::kOk) {
    std::vector<std::uint8_t> block(size);
    if (write_document(document, block, 1, 1) == code::kOk) o.mark = source_mark(block);
  }
  return o;
}

TEST(ExifCorpus, EveryFileGivesItsRecordedStatusSafelyAndQuickly) {
  const auto table = expected_table();
  const bool print = std::getenv("ZKIMGSET_PRINT_EXIF_STATUS") != nullptr;
  std::vector<fs::path> files;
  for (const char* folder : {"real", "malformed"})
    for (const auto& entry : fs::directory_iterator(kExifData / folder))
      files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  ASSERT_EQ(files.size(), 366u);
  for (const fs::path& path : files) {
    const std::string name =
        path.parent_path().filename().string() + "/" + path.filename().string();
    const auto start = std::chrono::steady_clock::now();
    const Outcome outcome = run(path);
    const auto took = std::chrono::steady_clock::now() - start;
    if (print) std::printf("%s\n", line_of(name, outcome).c_str());
    EXPECT_LT(took, std::chrono::seconds(1)) << name;
    for (const int status : {outcome.basic, outcome.extended})
      EXPECT_TRUE(status == 0 || status == 1 || status == 2 || status == 3 || status == 7 ||
                  status == 20)
          << name << ": " << status;
    const auto expected = table.find(name);
    if (expected == table.end()) {
      ADD_FAILURE() << "not in expected_status.txt: " << line_of(name, outcome);
      continue;
    }
    EXPECT_EQ(line_of(name, outcome), line_of(name, expected->second));
  }
}

}  // namespace
