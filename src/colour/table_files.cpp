// Colour table files. The text loaders clear the table only once the header
// line has been accepted; a file that fails after that leaves the table
// cleared and partly filled while Table3dStatus keeps its earlier value.
// The binary loader reads into storage of its own first, so a failed read
// leaves the table as it was.
#include "colour/table_files.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>

#include "colour/table_limits.h"
#include "colour/table_records.h"
#include "platform/directory_search.h"
#include "platform/file_open.h"
#include "platform/paths.h"

namespace zkimgset::colour {
namespace {

struct CloseFile {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File open_for_reading(const std::string& path) {
  return File(platform::open_for_reading(path.c_str(), "rb"));
}

// Walks a table text record by record.
class RecordReader {
 public:
  explicit RecordReader(std::vector<char>& text)
      : cursor_(text.data()), left_(static_cast<unsigned long>(text.size())) {}

  // The next record, or nullptr at the end of the data (nothing left, or an
  // empty line).
  char* next() {
    std::memset(record_, 0, sizeof record_);
    return get_next_record(&cursor_, &left_, record_) == 0 ? nullptr : record_;
  }

 private:
  char* cursor_;
  unsigned long left_;
  char record_[kRecordBufferBytes];
};

bool has_header(const char* record, const char* tag) {
  return record != nullptr && record[0] == tag[0] && record[1] == tag[1];
}

// The byte offset of file node (i, j, k) in the table, or -1 for a record
// the grid skips.
long node_offset(Grid3d grid, int i, int j, int k) {
  if (grid == Grid3d::Nodes33) return ((i * kFileNodes + j) * kFileNodes + k) * 3L;
  if (i == kSkippedFileNode || j == kSkippedFileNode || k == kSkippedFileNode) return -1;
  auto grid_index = [](int n) { return n == 0 ? 0 : n - 1; };
  return ((grid_index(i) * kGridNodes + grid_index(j)) * kGridNodes + grid_index(k)) * 3L;
}

}  // namespace

std::optional<std::vector<char>> read_table_text(const std::string& path) {
  File file = open_for_reading(path);
  if (!file) return std::nullopt;
  std::vector<char> text;
  char chunk[1 << 16];
  for (;;) {
    const std::size_t got = std::fread(chunk, 1, sizeof chunk, file.get());
    text.insert(text.end(), chunk, chunk + got);
    if (got < sizeof chunk) break;
  }
  if (std::ferror(file.get())) return std::nullopt;
  return text;
}

int parse_3d_text(std::vector<char>& text, std::uint8_t* table, Grid3d grid) {
  RecordReader reader(text);
  if (!has_header(reader.next(), "3D")) return ZKIMGSET_TABLE3D_FAILED;
  std::memset(table, 0, kTable3dBytes);
  for (int i = 0; i < kFileNodes; ++i) {
    for (int j = 0; j < kFileNodes; ++j) {
      for (int k = 0; k < kFileNodes; ++k) {
        char* record = reader.next();
        if (record == nullptr) return ZKIMGSET_TABLE3D_FAILED;
        const long at = node_offset(grid, i, j, k);
        if (at < 0) continue;  // read but never parsed
        if (load_3d_lut(record, table + at, table + at + 1, table + at + 2) != ZKIMGSET_OK)
          return ZKIMGSET_TABLE3D_FAILED;
      }
    }
  }
  return ZKIMGSET_OK;
}

int parse_1d_text(std::vector<char>& text, std::uint8_t* table) {
  RecordReader reader(text);
  if (!has_header(reader.next(), "1D")) return ZKIMGSET_TABLE1D_FAILED;
  std::memset(table, 0, kTable1dBytes);
  for (int level = 0; level < kLevels; ++level) {
    char* record = reader.next();
    if (record == nullptr) return ZKIMGSET_TABLE1D_FAILED;
    std::uint8_t* row = table + 3 * level;
    if (load_1d_lut(record, row, row + 1, row + 2) != ZKIMGSET_OK) return ZKIMGSET_TABLE1D_FAILED;
  }
  return ZKIMGSET_OK;
}

int set_3d_file(LibraryState& state, const char* name, Grid3d grid) {
  if (state.ColorTable3dAlt == nullptr) return ZKIMGSET_OUT_OF_MEMORY;
  const std::string folder = platform::library_folder();
  std::string path = folder;
  if (name != nullptr) {
    path += name;
  } else {
    const auto found = platform::find_first_match(folder, k3dFilePrefix, k3dFileSuffix);
    if (!found) return ZKIMGSET_TABLE3D_FAILED;
    path += *found;
  }
  auto text = read_table_text(path);
  if (!text) return ZKIMGSET_TABLE3D_FAILED;

  const int status = parse_3d_text(*text, state.ColorTable3dAlt, grid);
  if (status != ZKIMGSET_OK) return status;
  state.Table3dStatus = ZKIMGSET_OK;
  return ZKIMGSET_OK;
}

int set_1d_file(LibraryState& state, const char* name) {
  if (name == nullptr) return ZKIMGSET_TABLE1D_FAILED;
  if (state.Table1d == nullptr) return ZKIMGSET_OUT_OF_MEMORY;
  auto text = read_table_text(platform::library_folder() + name);
  if (!text) return ZKIMGSET_TABLE1D_FAILED;

  return parse_1d_text(*text, state.Table1d);
}

int load_3dp_file(LibraryState& state, const char* name) {
  if (name == nullptr) return ZKIMGSET_NOT_LOADED;
  File file = open_for_reading(platform::system_directory() + name);
  if (!file || std::fseek(file.get(), kBinaryOffsetField, SEEK_SET) != 0)
    return ZKIMGSET_NOT_LOADED;
  unsigned char field[4];
  if (std::fread(field, sizeof field, 1, file.get()) != 1) return ZKIMGSET_NOT_LOADED;
  const std::uint64_t offset = (std::uint64_t{field[0]} | std::uint64_t{field[1]} << 8 |
                                std::uint64_t{field[2]} << 16 | std::uint64_t{field[3]} << 24) +
                               kBinaryDataSkip;
  // Offsets past what fseek can address are past any real table file.
  if (offset > static_cast<std::uint64_t>(LONG_MAX) ||
      std::fseek(file.get(), static_cast<long>(offset), SEEK_SET) != 0)
    return ZKIMGSET_NOT_LOADED;
  if (state.ColorTable3dAlt == nullptr) return ZKIMGSET_OUT_OF_MEMORY;
  std::vector<std::uint8_t> items(kBinaryItems * kBinaryItemBytes);
  if (std::fread(items.data(), kBinaryItemBytes, kBinaryItems, file.get()) != kBinaryItems)
    return ZKIMGSET_NOT_LOADED;
  std::memcpy(state.ColorTable3dAlt, items.data(), kTable3dBytes);
  return ZKIMGSET_OK;
}

}  // namespace zkimgset::colour
