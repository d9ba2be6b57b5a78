// Loading the colour tables from their files.
#include "colour/table_files.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "colour/table_limits.h"
#include "support/library_folder_scope.h"
#include "support/table_text.h"
#include "support/temp_folder.h"

namespace zkimgset::colour {
namespace {

using testing::file_node_value;
using testing::Rgb;
using testing::table1d;
using testing::table3d;

constexpr std::uint8_t kUntouched = 0xA5;

class TableFiles : public ::testing::Test {
 protected:
  TableFiles() : scope_(folder_.slashed()) {
    alt_.assign(kTable3dBytes, kUntouched);
    table1d_.assign(kTable1dBytes, kUntouched);
    state_.ColorTable3dAlt = alt_.data();
    state_.Table1d = table1d_.data();
  }

  Rgb node(int i, int j, int k, int side = 32) const {
    const std::size_t at = ((static_cast<std::size_t>(i) * side + j) * side + k) * 3;
    return {alt_[at], alt_[at + 1], alt_[at + 2]};
  }
  bool untouched(const std::vector<std::uint8_t>& table) const {
    return std::all_of(table.begin(), table.end(), [](auto b) { return b == kUntouched; });
  }
  int load3d(const std::string& text, Grid3d grid = Grid3d::Nodes32) {
    folder_.write("ZK3DTEST.DAT", text);
    return set_3d_file(state_, "ZK3DTEST.DAT", grid);
  }
  int load1d(const std::string& text) {
    folder_.write("ONE.DAT", text);
    return set_1d_file(state_, "ONE.DAT");
  }

  testing::TempFolder folder_;
  testing::LibraryFolderScope scope_;
  LibraryState state_;
  std::vector<std::uint8_t> alt_, table1d_;
};

// File node n of an axis lands on grid node n - 1 (node 0 stays 0); file
// node 1 is skipped unread. The older layout stores all 33.
TEST_F(TableFiles, ThreeDRecordsLandOnTheirGridNodes) {
  ASSERT_EQ(load3d(table3d()), 0);
  EXPECT_EQ(state_.Table3dStatus, 0);
  auto file_node = [](int n) { return n == 0 ? 0 : n + 1; };
  for (int i = 0; i < 32; ++i)
    for (int j = 0; j < 32; ++j)
      for (int k = 0; k < 32; ++k)
        ASSERT_EQ(node(i, j, k), file_node_value(file_node(i), file_node(j), file_node(k)))
            << i << "," << j << "," << k;
  for (std::size_t at = kTable3dNodeBytes; at < kTable3dBytes; ++at) ASSERT_EQ(alt_[at], 0);

  // The records at node 1 are never parsed.
  const std::string unparsed = table3d([](int, int i, int j, int k) -> std::optional<std::string> {
    if (i == 1 || j == 1 || k == 1) return "node one, no numbers";
    return std::nullopt;
  });
  ASSERT_EQ(load3d(unparsed), 0);
  EXPECT_EQ(node(5, 0, 31), file_node_value(6, 0, 32));
  EXPECT_EQ(load3d(unparsed, Grid3d::Nodes33), 18) << "the older layout parses them";

  state_.Table3dStatus = 18;
  ASSERT_EQ(load3d(table3d(), Grid3d::Nodes33), 0);
  EXPECT_EQ(state_.Table3dStatus, 0);
  for (int i : {0, 1, 16, 32})
    for (int j : {0, 1, 31, 32})
      for (int k : {0, 1, 2, 32}) EXPECT_EQ(node(i, j, k, 33), file_node_value(i, j, k));
}

// A header must begin with "3D" (or "1D"), whatever follows on its line; a
// refused header leaves table and status alone.
TEST_F(TableFiles, HeaderNeedsUpperCaseThreeD) {
  state_.Table3dStatus = ZKIMGSET_NOT_LOADED;
  for (const char* header : {"3d", "3", "D3", "", " 3D"})
    EXPECT_EQ(load3d(table3d({}, 33 * 33 * 33, header)), 18) << header;
  EXPECT_TRUE(untouched(alt_));
  EXPECT_EQ(state_.Table3dStatus, ZKIMGSET_NOT_LOADED);
  for (const std::string& header :
       {std::string("3Dtable, any text"), "3D" + std::string(5000, '#')})
    EXPECT_EQ(load3d(table3d({}, 33 * 33 * 33, header)), 0) << header.substr(0, 20);
}

// Random junk is the fuzz corpus's. A text that fails after its header
// leaves the table cleared and filled up to the failure, and the 3-D status
// at its earlier value.
TEST_F(TableFiles, BrokenTextsFailWithTheirTablesStatus) {
  auto broken3d = [](int at, const char* text) {
    return table3d([=](int index, int, int, int) -> std::optional<std::string> {
      if (index == at) return text;
      return std::nullopt;
    });
  };
  const struct {
    const char* what;
    bool three_d;
    std::string text;
  } cases[] = {{"short by one record", true, table3d({}, 33 * 33 * 33 - 1)},
               {"a blank line ends the records", true, broken3d(500, "")},
               {"last record of five fields", true, broken3d(35936, "0,0,0,1,2")},
               {"1-D lower-case header", false, table1d(256, "1d")},
               {"1-D short by one record", false, table1d(255)},
               {"1-D record of three fields", false, "1D\n0,1,2\n"}};
  for (const auto& c : cases) {
    state_.Table3dStatus = 0;  // an earlier load succeeded
    EXPECT_EQ(c.three_d ? load3d(c.text) : load1d(c.text), c.three_d ? 18 : 17) << c.what;
    EXPECT_EQ(state_.Table3dStatus, 0) << c.what;
  }
  EXPECT_EQ(load3d(table3d({}, 33 * 33 * 33 - 1)), 18);
  EXPECT_EQ(node(0, 0, 0), file_node_value(0, 0, 0));
  EXPECT_EQ(node(31, 31, 30), file_node_value(32, 32, 31));
  for (std::size_t at = kTable3dNodeBytes - 3; at < kTable3dBytes; ++at) ASSERT_EQ(alt_[at], 0);
}

TEST_F(TableFiles, MissingTableBufferIsOutOfMemory) {
  folder_.write("ZK3DTEST.DAT", table3d());
  folder_.write("T.3DP", std::string(20 + kBinaryItems * kBinaryItemBytes, '\0'));
  state_.ColorTable3dAlt = nullptr;
  state_.Table1d = nullptr;
  EXPECT_EQ(set_3d_file(state_, "ZK3DTEST.DAT", Grid3d::Nodes32), ZKIMGSET_OUT_OF_MEMORY);
  EXPECT_EQ(load1d(table1d()), ZKIMGSET_OUT_OF_MEMORY);
  EXPECT_EQ(load_3dp_file(state_, "/T.3DP"), ZKIMGSET_OUT_OF_MEMORY);
  EXPECT_EQ(state_.Table3dStatus, ZKIMGSET_NOT_LOADED);
}

// ---- The binary table -----------------------------------------------------

// 16 bytes, the offset of the items (little-endian), then the items.
std::string binary_table(std::uint32_t offset, std::size_t data_bytes) {
  std::string file(offset + 8 > 20 ? offset + 8 : 20, '\x11');
  for (int b = 0; b < 4; ++b) file[16 + b] = static_cast<char>(offset >> (8 * b));
  for (std::size_t i = 0; i < data_bytes; ++i) file += static_cast<char>(i * 31 % 251);
  return file;
}

TEST_F(TableFiles, BinaryTableKeepsTheFirstBytesOfItsItemsOrFails) {
  folder_.write("SHORT.3DP", binary_table(100, kBinaryItems * kBinaryItemBytes - 1));
  folder_.write("FAR.3DP", binary_table(12, 0).substr(0, 16) + "\xF0\xFF\xFF\xFF");
  folder_.write("TINY.3DP", "0123456789");
  for (const char* name :
       {"/SHORT.3DP", "/FAR.3DP", "/TINY.3DP", "/NONE.3DP", (const char*)nullptr})
    EXPECT_EQ(load_3dp_file(state_, name), -1) << (name ? name : "null");
  EXPECT_TRUE(untouched(alt_));
  folder_.write("T.3DP", binary_table(100, kBinaryItems * kBinaryItemBytes));
  ASSERT_EQ(load_3dp_file(state_, "/T.3DP"), 0);
  for (std::size_t i = 0; i < kTable3dBytes; ++i)
    ASSERT_EQ(alt_[i], static_cast<std::uint8_t>(i * 31 % 251)) << i;
  EXPECT_EQ(state_.Table3dStatus, ZKIMGSET_NOT_LOADED) << "the status is not the binary loader's";
}

}  // namespace
}  // namespace zkimgset::colour
