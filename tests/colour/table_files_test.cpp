// Loading the colour tables from their files.
#include "colour/table_files.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <random>
#include <vector>

#include "colour/table_limits.h"
#include "support/library_folder_scope.h"
#include "support/table_text.h"
#include "support/temp_folder.h"

namespace zkimgset::colour {
namespace {

using testing::file_node_value;
using testing::level_value;
using testing::Rgb;
using testing::Table1dText;
using testing::Table3dText;

constexpr std::uint8_t kUntouched = 0xA5;

class TableFiles : public ::testing::Test {
 protected:
  TableFiles() : scope_(folder_.slashed()) {
    alt_.assign(kTable3dBytes, kUntouched);
    table1d_.assign(kTable1dBytes, kUntouched);
    state_.ColorTable3dAlt = alt_.data();
    state_.Table1d = table1d_.data();
  }

  Rgb grid_node(int i, int j, int k) const {
    const std::size_t at = ((static_cast<std::size_t>(i) * 32 + j) * 32 + k) * 3;
    return {alt_[at], alt_[at + 1], alt_[at + 2]};
  }
  Rgb node33(int i, int j, int k) const {
    const std::size_t at = ((static_cast<std::size_t>(i) * 33 + j) * 33 + k) * 3;
    return {alt_[at], alt_[at + 1], alt_[at + 2]};
  }
  bool alt_untouched() const {
    return std::all_of(alt_.begin(), alt_.end(), [](auto b) { return b == kUntouched; });
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
// node 1 is skipped.
int file_node_of(int grid_node) { return grid_node == 0 ? 0 : grid_node + 1; }

TEST_F(TableFiles, ThreeDRecordsLandOnTheThirtyTwoNodeGrid) {
  ASSERT_EQ(load3d(Table3dText{}.build()), 0);
  EXPECT_EQ(state_.Table3dStatus, 0);
  for (int i = 0; i < 32; ++i)
    for (int j = 0; j < 32; ++j)
      for (int k = 0; k < 32; ++k)
        ASSERT_EQ(grid_node(i, j, k),
                  file_node_value(file_node_of(i), file_node_of(j), file_node_of(k)))
            << i << "," << j << "," << k;
  for (std::size_t at = kTable3dNodeBytes; at < kTable3dBytes; ++at) ASSERT_EQ(alt_[at], 0);
}

TEST_F(TableFiles, CrLfAndLfFilesReadAlike) {
  ASSERT_EQ(load3d(Table3dText{}.build()), 0);
  const std::vector<std::uint8_t> with_lf = alt_;
  Table3dText crlf;
  crlf.line_end = "\r\n";
  ASSERT_EQ(load3d(crlf.build()), 0);
  EXPECT_EQ(alt_, with_lf);

  ASSERT_EQ(load1d(Table1dText{}.build()), 0);
  const std::vector<std::uint8_t> one_lf = table1d_;
  Table1dText one_crlf;
  one_crlf.line_end = "\r\n";
  ASSERT_EQ(load1d(one_crlf.build()), 0);
  EXPECT_EQ(table1d_, one_lf);
}

TEST_F(TableFiles, FinalLineWithoutLineFeedLosesItsLastCharacter) {
  Table3dText text;
  text.record = [](int index, int i, int j, int k) {
    if (index == 33 * 33 * 33 - 1) return std::string("0,0,0,12,34,56");
    const Rgb v = file_node_value(i, j, k);
    return "0,0,0," + std::to_string(v.r) + "," + std::to_string(v.g) + "," + std::to_string(v.b);
  };
  ASSERT_EQ(load3d(text.build()), 0);
  EXPECT_EQ(grid_node(31, 31, 31), (Rgb{12, 34, 56}));
  text.final_line_end = false;
  ASSERT_EQ(load3d(text.build()), 0);
  EXPECT_EQ(grid_node(31, 31, 31), (Rgb{12, 34, 5}));
}

TEST_F(TableFiles, HeaderNeedsUpperCaseThreeD) {
  Table3dText text;
  text.header = "3Dtable of the lab, any text here";
  EXPECT_EQ(load3d(text.build()), 0);

  std::fill(alt_.begin(), alt_.end(), kUntouched);
  state_.Table3dStatus = ZKIMGSET_NOT_LOADED;
  for (const char* header : {"3d", "3", "D3", "", " 3D"}) {
    text.header = header;
    EXPECT_EQ(load3d(text.build()), 18) << header;
  }
  EXPECT_TRUE(alt_untouched()) << "a refused header must leave the table alone";
  EXPECT_EQ(state_.Table3dStatus, ZKIMGSET_NOT_LOADED);
}

TEST_F(TableFiles, LongHeaderLineIsCutNotRefused) {
  Table3dText text;
  text.header = "3D" + std::string(5000, '#');
  EXPECT_EQ(load3d(text.build()), 0);
}

TEST_F(TableFiles, RecordsAtIndexOneAreNeverParsed) {
  Table3dText text;
  text.record = [](int, int i, int j, int k) -> std::string {
    if (i == 1 || j == 1 || k == 1) return "node one, no numbers";
    const Rgb v = file_node_value(i, j, k);
    return "-,-,-," + std::to_string(v.r) + "," + std::to_string(v.g) + "," + std::to_string(v.b);
  };
  ASSERT_EQ(load3d(text.build()), 0);
  EXPECT_EQ(grid_node(5, 0, 31), file_node_value(6, 0, 32));
  // The older layout parses every record.
  EXPECT_EQ(load3d(text.build(), Grid3d::Nodes33), 18);
}

TEST_F(TableFiles, ShortFileLeavesAClearedPartlyFilledTableAndTheOldStatus) {
  state_.Table3dStatus = 0;  // an earlier load succeeded
  Table3dText text;
  text.records = 33 * 33 * 33 - 1;
  EXPECT_EQ(load3d(text.build()), 18);
  EXPECT_EQ(state_.Table3dStatus, 0);
  EXPECT_EQ(grid_node(31, 31, 30), file_node_value(32, 32, 31));
  EXPECT_EQ(grid_node(31, 31, 31), (Rgb{0, 0, 0}));
  for (std::size_t at = kTable3dNodeBytes - 3; at < kTable3dBytes; ++at) ASSERT_EQ(alt_[at], 0);
}

struct BrokenRecord {
  const char* name;
  int index;  // record position
  const char* text;
};

class ThreeDFileFaults : public TableFiles, public ::testing::WithParamInterface<BrokenRecord> {};

TEST_P(ThreeDFileFaults, FailWithEighteen) {
  Table3dText text;
  const BrokenRecord broken = GetParam();
  text.record = [&](int index, int i, int j, int k) -> std::string {
    if (index == broken.index) return broken.text;
    const Rgb v = file_node_value(i, j, k);
    return "0,0,0," + std::to_string(v.r) + "," + std::to_string(v.g) + "," + std::to_string(v.b);
  };
  state_.Table3dStatus = 0;
  EXPECT_EQ(load3d(text.build()), 18);
  EXPECT_EQ(state_.Table3dStatus, 0);
  EXPECT_EQ(grid_node(0, 0, 0), file_node_value(0, 0, 0));
}

INSTANTIATE_TEST_SUITE_P(Records, ThreeDFileFaults,
                         ::testing::Values(BrokenRecord{"BlankLineEndsTheRecords", 500, ""},
                                           BrokenRecord{"FiveFields", 700, "0,0,0,1,2"},
                                           BrokenRecord{"EmptyField", 900, "0,0,0,1,,2"},
                                           BrokenRecord{"LastRecordShort", 35936, "1,2,3,4"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(TableFiles, SearchTakesTheFirstMatchTheListingReturns) {
  Table3dText a, b;
  b.record = [](int, int, int, int) { return std::string("0,0,0,9,9,9"); };
  folder_.write("ZK3DA.DAT", a.build());
  folder_.write("ZK3DB.DAT", b.build());
  folder_.write("ZK3D.TXT", "not a table");
  std::string first;
  for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
    const std::string name = entry.path().filename().string();
    if (name == "ZK3DA.DAT" || name == "ZK3DB.DAT") {
      first = name;
      break;
    }
  }
  ASSERT_EQ(set_3d_file(state_, nullptr, Grid3d::Nodes32), 0);
  const Rgb expected = first == "ZK3DA.DAT" ? file_node_value(4, 5, 6) : Rgb{9, 9, 9};
  EXPECT_EQ(grid_node(3, 4, 5), expected);
}

TEST_F(TableFiles, SearchIgnoresLetterCase) {
  folder_.write("zk3dlower.dat", Table3dText{}.build());
  EXPECT_EQ(set_3d_file(state_, nullptr, Grid3d::Nodes32), 0);
}

TEST_F(TableFiles, NoTableOrAVanishedOneGivesEighteen) {
  EXPECT_EQ(set_3d_file(state_, nullptr, Grid3d::Nodes32), 18);
  EXPECT_EQ(set_3d_file(state_, "ZK3DNONE.DAT", Grid3d::Nodes32), 18);
  // Listed by the directory, gone when opened: a dangling link, where the
  // file system lets this process make one.
  std::error_code refused;
  std::filesystem::create_symlink("vanished-target", folder_.path() / "ZK3DGONE.DAT", refused);
  if (refused) GTEST_SKIP() << "no symbolic links here: " << refused.message();
  EXPECT_EQ(set_3d_file(state_, nullptr, Grid3d::Nodes32), 18);
  EXPECT_TRUE(alt_untouched());
}

TEST_F(TableFiles, JunkFilesFailCleanly) {
  std::mt19937 random(7);
  std::string junk(200000, '\0');
  for (char& c : junk) c = static_cast<char>(random());
  EXPECT_EQ(load3d(junk), 18);
  EXPECT_EQ(load3d("3D" + junk), 18);
  EXPECT_EQ(load3d(""), 18);
  EXPECT_EQ(load1d(junk), 17);
  EXPECT_EQ(load1d("1D\n" + junk), 17);
  EXPECT_EQ(load1d(""), 17);
  EXPECT_EQ(load3d("3D\n" + std::string(100000, ',') + "\n"), 18);
}

TEST_F(TableFiles, MissingTableBufferIsOutOfMemory) {
  folder_.write("ZK3DTEST.DAT", Table3dText{}.build());
  state_.ColorTable3dAlt = nullptr;
  state_.Table1d = nullptr;
  EXPECT_EQ(set_3d_file(state_, "ZK3DTEST.DAT", Grid3d::Nodes32), ZKIMGSET_OUT_OF_MEMORY);
  EXPECT_EQ(load1d(Table1dText{}.build()), ZKIMGSET_OUT_OF_MEMORY);
  EXPECT_EQ(state_.Table3dStatus, ZKIMGSET_NOT_LOADED);
}

TEST_F(TableFiles, OlderLayoutStoresAllThirtyThreeNodes) {
  state_.Table3dStatus = 18;
  ASSERT_EQ(load3d(Table3dText{}.build(), Grid3d::Nodes33), 0);
  EXPECT_EQ(state_.Table3dStatus, 0);
  for (int i : {0, 1, 16, 32})
    for (int j : {0, 1, 31, 32})
      for (int k : {0, 1, 2, 32}) EXPECT_EQ(node33(i, j, k), file_node_value(i, j, k));
}

TEST_F(TableFiles, OneDTableFillsARowPerLevel) {
  const int saved = state_.Table1dStatus = 17;
  ASSERT_EQ(load1d(Table1dText{}.build()), 0);
  EXPECT_EQ(state_.Table1dStatus, saved) << "only start-up stores the 1-D status";
  for (int level = 0; level < 256; ++level) {
    const Rgb row{table1d_[3 * level], table1d_[3 * level + 1], table1d_[3 * level + 2]};
    ASSERT_EQ(row, level_value(level)) << level;
  }
}

TEST_F(TableFiles, OneDFaults) {
  EXPECT_EQ(set_1d_file(state_, nullptr), 17);
  EXPECT_TRUE(
      std::all_of(table1d_.begin(), table1d_.end(), [](auto b) { return b == kUntouched; }));
  Table1dText text;
  text.header = "1d";
  EXPECT_EQ(load1d(text.build()), 17);
  text.header = "1D";
  text.records = 255;
  EXPECT_EQ(load1d(text.build()), 17);
  EXPECT_EQ(load1d("1D\n0,1,2\n"), 17);
  EXPECT_EQ(set_1d_file(state_, "NO-SUCH.DAT"), 17);
}

// ---- The binary table -----------------------------------------------------

std::string binary_table(std::uint32_t offset, std::size_t data_bytes) {
  std::string file(offset + 8 > 20 ? offset + 8 : 20, '\x11');
  for (int b = 0; b < 4; ++b) file[16 + b] = static_cast<char>(offset >> (8 * b));
  for (std::size_t i = 0; i < data_bytes; ++i) file += static_cast<char>(i * 31 % 251);
  return file;
}

TEST_F(TableFiles, BinaryTableKeepsTheFirstBytesOfItsItems) {
  folder_.write("T.3DP", binary_table(100, kBinaryItems * kBinaryItemBytes));
  ASSERT_EQ(load_3dp_file(state_, "/T.3DP"), 0);
  for (std::size_t i = 0; i < kTable3dBytes; ++i)
    ASSERT_EQ(alt_[i], static_cast<std::uint8_t>(i * 31 % 251)) << i;
  EXPECT_EQ(state_.Table3dStatus, ZKIMGSET_NOT_LOADED) << "the status is not the binary loader's";
}

TEST_F(TableFiles, BinaryTableFaults) {
  folder_.write("SHORT.3DP", binary_table(100, kBinaryItems * kBinaryItemBytes - 1));
  folder_.write("FAR.3DP", binary_table(12, 0).substr(0, 16) + "\xF0\xFF\xFF\xFF");
  folder_.write("TINY.3DP", "0123456789");
  EXPECT_EQ(load_3dp_file(state_, "/SHORT.3DP"), -1);
  EXPECT_EQ(load_3dp_file(state_, "/FAR.3DP"), -1);
  EXPECT_EQ(load_3dp_file(state_, "/TINY.3DP"), -1);
  EXPECT_EQ(load_3dp_file(state_, "/NONE.3DP"), -1);
  EXPECT_EQ(load_3dp_file(state_, nullptr), -1);
  EXPECT_TRUE(alt_untouched());
  folder_.write("T.3DP", binary_table(0, kBinaryItems * kBinaryItemBytes));
  state_.ColorTable3dAlt = nullptr;
  EXPECT_EQ(load_3dp_file(state_, "/T.3DP"), ZKIMGSET_OUT_OF_MEMORY);
}

}  // namespace
}  // namespace zkimgset::colour
