// Parsing the default 3-D table text (35938 lines) against a floor: splitting the
// same text into lines and reading the three outputs with strtol, the least
// any reader of the format must do.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "colour/table_files.h"
#include "colour/table_limits.h"
#include "ratio_reporter.h"

namespace {

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

void Parse3dTable_ours(benchmark::State& state) {
  const std::vector<char> source = identity_3d_text();
  std::vector<std::uint8_t> table(kTable3dBytes);
  for (auto _ : state) {
    std::vector<char> text = source;  // the parser walks a text it may change
    benchmark::DoNotOptimize(parse_3d_text(text, table.data(), Grid3d::Nodes32));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * source.size()));
}

void Parse3dTable_floor(benchmark::State& state) {
  const std::vector<char> source = identity_3d_text();
  std::vector<std::uint8_t> table(kTable3dBytes);
  for (auto _ : state) {
    std::vector<char> text = source;
    text.push_back('\0');
    char* p = std::strchr(text.data(), '\n') + 1;
    std::size_t at = 0;
    while (*p != '\0' && at + 3 <= table.size()) {
      for (int skip = 0; skip < 3; ++skip) p = std::strchr(p, ',') + 1;
      for (int c = 0; c < 3; ++c)
        table[at++] = static_cast<std::uint8_t>(std::strtol(p, &p, 10)), ++p;
    }
    benchmark::DoNotOptimize(table.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * source.size()));
}

BENCHMARK(Parse3dTable_ours)->Name("Parse3dTable/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(Parse3dTable_floor)->Name("Parse3dTable/floor")->Unit(benchmark::kMillisecond);

}  // namespace

ZKIMGSET_BENCHMARK_MAIN()
