// Parsing the default 3-D table text (35938 lines) against a floor:
// splitting the same text into lines and reading the three outputs with
// strtol, the least any reader of the format must do; in interleaved
// rounds, the two tables compared first.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "colour/table_files.h"
#include "colour/table_limits.h"
#include "rounds.h"

namespace {

using namespace zkimgset;
using namespace zkimgset::colour;

// The default 3-D table written beside the library by the build.
std::vector<char> identity_3d_text() {
  auto text = read_table_text(ZKIMGSET_BENCH_TABLE_DIR "/ZK3DDATA.DAT");
  if (!text) {
    std::fprintf(stderr, "cannot read the default 3-D table in %s\n", ZKIMGSET_BENCH_TABLE_DIR);
    std::exit(1);
  }
  return *text;
}

// The floor: every record's last three fields, node after node. The
// default table has 33 nodes an axis; node 1 of each is skipped as the
// parser skips it, so that the two tables can be compared.
void floor_parse(std::vector<char> text, std::uint8_t* table) {
  text.push_back('\0');
  char* p = std::strchr(text.data(), '\n') + 1;
  std::size_t at = 0;
  for (int n = 0; *p != '\0' && n < kFileNodes * kFileNodes * kFileNodes; ++n) {
    std::uint8_t v[3];
    for (int skip = 0; skip < 3; ++skip) p = std::strchr(p, ',') + 1;
    for (int c = 0; c < 3; ++c) v[c] = static_cast<std::uint8_t>(std::strtol(p, &p, 10)), ++p;
    const int i = n / (kFileNodes * kFileNodes), j = n / kFileNodes % kFileNodes,
              k = n % kFileNodes;
    if (i == kSkippedFileNode || j == kSkippedFileNode || k == kSkippedFileNode) continue;
    for (int c = 0; c < 3; ++c) table[at++] = v[c];
  }
}

void Parse3dTable(benchmark::State& state) {
  const bench::Comparison c{"Parse 3-D table text, 35938 lines", "floor",
                            "line split and strtol of the three outputs",
                            "same table as the floor"};
  const std::vector<char> source = identity_3d_text();
  std::vector<std::uint8_t> table(kTable3dBytes), floor(kTable3dBytes);
  std::vector<char> text = source;
  parse_3d_text(text, table.data(), Grid3d::Nodes32);
  floor_parse(source, floor.data());
  if (std::memcmp(table.data(), floor.data(), kTable3dNodeBytes) != 0)
    return bench::fail(state, c, "the parser and the floor read different tables");
  bench::interleave(
      state, c,
      [&] {
        text = source;  // the parser walks a text it may change
        return bench::timed(
            [&] { benchmark::DoNotOptimize(parse_3d_text(text, table.data(), Grid3d::Nodes32)); });
      },
      [&] { return bench::timed([&] { floor_parse(source, floor.data()); }); });
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::RegisterBenchmark("Parse3dTable", Parse3dTable)
      ->UseManualTime()
      ->Iterations(bench::kRounds)
      ->Unit(benchmark::kMillisecond);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return bench::report_figures() ? 0 : 1;
}
