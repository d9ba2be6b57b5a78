// zkimgset tables: which colour tables the library loaded, and a check of
// table files that names the first bad line.
#include <dirent.h>
#include <dlfcn.h>
#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <vector>

#include "commands/commands.h"
#include "core/command_line.h"
#include "core/library_session.h"
#include "files/input_file.h"

namespace zkcli {
namespace {

constexpr const char* kHelp = R"(Usage: zkimgset tables [DIR|FILE...]

Without arguments: shows the library's folder and whether the colour tables
there ("ZK1DDATA.DAT" and the first ZK3D*.DAT) load, checking each file.
With arguments: checks each table file (every *.DAT file of a folder) and
names the first bad line of a file that the library would refuse.

Exit status: 0 when every table is good, 1 otherwise.
)";

constexpr int k1dRecords = 256;
constexpr int k3dRecords = 33 * 33 * 33;

// The verdict on a table file.
struct Check {
  bool ok = false;
  std::string text;
};

Check check_table(const std::string& path) {
  std::string bytes;
  try {
    bytes = read_file(path, kMaxTableFileBytes);
  } catch (const Failure& e) {
    return {false, e.what()};
  }
  std::vector<char> text(bytes.begin(), bytes.end());
  char* cursor = text.data();
  unsigned long left = static_cast<unsigned long>(text.size());
  char record[260];
  auto next = [&] {
    std::memset(record, 0, sizeof record);
    return Get_Next_Record(&cursor, &left, record) != 0;
  };
  if (!next() || (std::strncmp(record, "1D", 2) != 0 && std::strncmp(record, "3D", 2) != 0))
    return {false, "line 1: the first line must be the header 1D or 3D"};
  const bool three = record[0] == '3';
  const int expected = three ? k3dRecords : k1dRecords;
  for (int n = 1; n <= expected; ++n) {
    const std::string line = "line " + std::to_string(n + 1) + ": ";
    if (!next())
      return {false, line + (left == 0 ? "the file ends" : "an empty line ends the table") +
                         " after " + std::to_string(n - 1) + " of " + std::to_string(expected) +
                         " records"};
    const std::string copy = record;
    unsigned char r = 0, g = 0, b = 0;
    const int status = three ? Load_3D_LUT(record, &r, &g, &b) : Load_1D_LUT(record, &r, &g, &b);
    if (status != ZKIMGSET_OK)
      return {false, line + "malformed record \"" + copy + "\" (expected " +
                         (three ? "i,j,k,R,G,B" : "level,R,G,B") + ")"};
  }
  if (text.back() != '\n')
    return {false, "no line feed at the end: the library drops the file's last character"};
  return {true,
          std::string(three ? "3-D" : "1-D") + " table, " + std::to_string(expected) + " records"};
}

std::string library_folder() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&Set3dFile), &info) == 0 || info.dli_fname == nullptr)
    return "";
  return std::filesystem::path(info.dli_fname).parent_path().string() + "/";
}

// The 3-D file the library takes: the first ZK3D*.DAT the folder lists.
std::string first_3d_file(const std::string& folder) {
  DIR* dir = opendir(folder.c_str());
  if (dir == nullptr) return "";
  std::string found;
  while (const dirent* e = readdir(dir)) {
    const std::size_t n = std::strlen(e->d_name);
    if (n >= 8 && strncasecmp(e->d_name, "ZK3D", 4) == 0 &&
        strcasecmp(e->d_name + n - 4, ".DAT") == 0) {
      found = e->d_name;
      break;
    }
  }
  closedir(dir);
  return found;
}

bool report(const std::string& path, const Check& check) {
  std::printf("%s: %s%s\n", path.c_str(), check.ok ? "" : "BAD: ", check.text.c_str());
  return check.ok;
}

int library_tables() {
  const std::string folder = library_folder();
  std::printf("Library folder: %s\n", folder.empty() ? "(unknown)" : folder.c_str());
  bool good = true;
  const int status1d = Set1dFile("ZK1DDATA.DAT");
  std::printf("1-D table ZK1DDATA.DAT: %s\n", status_message(status1d).c_str());
  if (!folder.empty())
    good &= report("  " + folder + "ZK1DDATA.DAT", check_table(folder + "ZK1DDATA.DAT"));
  const std::string name3d = folder.empty() ? "" : first_3d_file(folder);
  const int status3d = Set3dFile(nullptr);
  std::printf("3-D table %s: %s\n", name3d.empty() ? "(no ZK3D*.DAT file)" : name3d.c_str(),
              status_message(status3d).c_str());
  if (!name3d.empty()) good &= report("  " + folder + name3d, check_table(folder + name3d));
  return good && status1d == ZKIMGSET_OK && status3d == ZKIMGSET_OK ? 0 : kExitFailed;
}

}  // namespace

int run_tables(int argc, char** argv, int first) {
  std::vector<std::string> paths;
  for (Arguments args(argc, argv, first); !args.done();) {
    if (args.flag("--help") || args.flag("-h")) {
      std::fputs(kHelp, stdout);
      return 0;
    }
    paths.push_back(args.positional());
  }
  if (paths.empty()) return library_tables();
  bool good = true;
  for (const std::string& path : paths) {
    std::error_code error;
    if (!std::filesystem::is_directory(path, error)) {
      good &= report(path, check_table(path));
      continue;
    }
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(path, error)) {
      const std::string name = entry.path().filename().string();
      if (name.size() > 4 && strcasecmp(name.c_str() + name.size() - 4, ".DAT") == 0)
        files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) std::printf("%s: no .DAT table files\n", path.c_str());
    for (const std::string& file : files) good &= report(file, check_table(file));
  }
  return good ? 0 : kExitFailed;
}

}  // namespace zkcli
