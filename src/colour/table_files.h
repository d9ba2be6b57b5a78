// Loading the colour tables from their files: the 3-D table text (found
// beside the library or named), the 1-D table text, and the binary 3-D table
// in the installation's data folder.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "frame/library_state.h"

namespace zkimgset::colour {

// Where a 3-D text table's records go: the 32-node grid the interpolation
// reads (node 1 of each axis skipped unread), or the older 33-node layout.
enum class Grid3d { Nodes32, Nodes33 };

// The 3-D table file's name pattern: "ZK3D" + anything + ".DAT".
inline constexpr const char* k3dFilePrefix = "ZK3D";
inline constexpr const char* k3dFileSuffix = ".DAT";

// Loads ColorTable3dAlt from the library folder's file `name`, or from the
// first ZK3D*.DAT there when name is null. 0 (Table3dStatus becomes 0), 18,
// or 3 when the table buffer is missing. Takes no lock.
int set_3d_file(LibraryState& state, const char* name, Grid3d grid);

// Loads Table1d from the library folder's file `name`. 0, 17, or 3 when the
// table buffer is missing. Table1dStatus is not changed.
int set_1d_file(LibraryState& state, const char* name);

// Parses a whole 3-D table text (header line, then the records) into a
// 107811-byte table; 0 or 18. The table is cleared once the header is
// accepted, so a later failure leaves it partly filled.
int parse_3d_text(std::vector<char>& text, std::uint8_t* table, Grid3d grid);

// Parses a whole 1-D table text into a 768-byte table; 0 or 17.
int parse_1d_text(std::vector<char>& text, std::uint8_t* table);

// Loads ColorTable3dAlt from the binary file system_directory() + name.
// 0, -1 (cannot open, seek or read it whole), or 3.
int load_3dp_file(LibraryState& state, const char* name);

// The whole file, or nullopt when it cannot be opened or read. Memory
// running out throws std::bad_alloc, which the exports report as 3.
std::optional<std::vector<char>> read_table_text(const std::string& path);

}  // namespace zkimgset::colour
