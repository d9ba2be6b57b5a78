// Writes the default colour tables, identity tables that leave every colour
// as it is, into the folder given as the only argument:
//   ZK1DDATA.DAT  "1D", then 256 records "level,R,G,B" with R = G = B = level;
//   ZK3DDATA.DAT  "3D", then 33 x 33 x 33 records "i,j,k,R,G,B" (blue fastest)
//                 whose outputs are the node inputs: 0 for node 0 and 8n - 1
//                 for node n (7, 15, 23, ..., 255). Node 1 (input 7) is never
//                 read into the table, but the format needs its records.
// Lines end in a line feed, the last one too, as the format requires.
#include <cstdio>
#include <string>

namespace {

int node_input(int n) { return n == 0 ? 0 : 8 * n - 1; }

bool write_file(const std::string& path, const std::string& text) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) return false;
  const bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
  return std::fclose(f) == 0 && ok;
}

std::string table_1d() {
  std::string text = "1D identity\n";
  for (int level = 0; level < 256; ++level) {
    const std::string v = std::to_string(level);
    text += v + ',' + v + ',' + v + ',' + v + '\n';
  }
  return text;
}

std::string table_3d() {
  std::string text = "3D identity\n";
  for (int i = 0; i < 33; ++i)
    for (int j = 0; j < 33; ++j)
      for (int k = 0; k < 33; ++k)
        text += std::to_string(i) + ',' + std::to_string(j) + ',' + std::to_string(k) + ',' +
                std::to_string(node_input(i)) + ',' + std::to_string(node_input(j)) + ',' +
                std::to_string(node_input(k)) + '\n';
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  const std::string folder = std::string(argv[1]) + "/";
  if (!write_file(folder + "ZK1DDATA.DAT", table_1d()) ||
      !write_file(folder + "ZK3DDATA.DAT", table_3d())) {
    std::fprintf(stderr, "%s: cannot write the tables into %s\n", argv[0], argv[1]);
    return 1;
  }
  return 0;
}
