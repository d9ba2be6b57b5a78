// Ours beside a peer or a floor, in rounds: each round times both once, in
// turn (the order alternating from round to round), so that a slow spell of
// the machine falls on both alike, and the figure is the median of the
// per-round ratios with their smallest and largest. One untimed round warms
// both up first. Each side is a callable that prepares its input untimed
// and returns the seconds of its timed part (see timed()); a short side is
// run several times a round.
//
// The figures are kept for the report that main() prints at the end and,
// when ZKIMGSET_BENCH_RESULTS names a file, appends to it as Markdown table
// rows (bench/run_all.sh gathers them into bench/RESULTS.md).
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace zkimgset::bench {

// Rounds of every comparison: enough for a median and a spread that mean
// something on a noisy machine, few enough that `make bench` stays short.
inline constexpr int kRounds = 9;

// The seconds that f() takes.
template <class F>
double timed(F&& f) {
  const auto start = std::chrono::steady_clock::now();
  f();
  benchmark::ClobberMemory();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct Spread {
  double median = 0, min = 0, max = 0;
};

inline Spread spread_of(std::vector<double> values) {
  if (values.empty()) return {};
  std::sort(values.begin(), values.end());
  const std::size_t n = values.size();
  const double median = n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
  return {median, values.front(), values.back()};
}

// One comparison's figures.
struct Figure {
  std::string name;   // what is measured, e.g. "ImageDataConvertEx mode 0, 24 MP"
  std::string other;  // "peer" or "floor"
  std::string what;   // what the other side is
  std::string check;  // how the outputs were checked, or why they failed
  bool failed = false;
  Spread ours_s, other_s, ratio;
};

inline std::vector<Figure>& figures() {
  static std::vector<Figure> all;
  return all;
}

// What a comparison is: its name, the other side's role and description,
// the output check that passed before it was timed, and the items a side's
// run handles (files of a batch: the times are reported per item).
struct Comparison {
  std::string name, other, what, check;
  double items = 1;
};

// Marks the comparison failed (outputs differ); the benchmark is skipped
// and the program exits non-zero.
inline void fail(benchmark::State& state, const Comparison& c, const std::string& why) {
  Figure f{c.name, c.other, c.what, why, true, {}, {}, {}};
  figures().push_back(f);
  state.SkipWithError(why.c_str());
}

// A side that takes less than this is run several times a round (each run
// prepared afresh) and its round's time is the mean, so that a short figure
// is not one timer tick or one interruption.
inline constexpr double kMinRoundSeconds = 0.02;
inline constexpr int kMaxRunsPerRound = 1000;

// How many runs of a side, taking `seconds` once, make up a round.
inline int runs_per_round(double seconds) {
  if (seconds <= 0) return kMaxRunsPerRound;
  return std::clamp(static_cast<int>(kMinRoundSeconds / seconds) + 1, 1, kMaxRunsPerRound);
}

// The mean seconds of n runs of a side.
template <class Side>
double mean_of(int n, Side& side) {
  double total = 0;
  for (int i = 0; i < n; ++i) total += side();
  return total / n;
}

// Runs the rounds: register the benchmark with ->UseManualTime()
// ->Iterations(kRounds), so that each of its iterations is one round.
template <class Ours, class Other>
void interleave(benchmark::State& state, const Comparison& c, Ours&& ours, Other&& other) {
  const int n_ours = runs_per_round(ours()), n_other = runs_per_round(other());
  std::vector<double> t_ours, t_other, ratio;
  for (auto _ : state) {
    double a = 0, b = 0;
    if (ratio.size() % 2 == 0) {
      a = mean_of(n_ours, ours);
      b = mean_of(n_other, other);
    } else {
      b = mean_of(n_other, other);
      a = mean_of(n_ours, ours);
    }
    state.SetIterationTime(a);
    t_ours.push_back(a);
    t_other.push_back(b);
    ratio.push_back(b > 0 ? a / b : 0);
  }
  for (double& t : t_ours) t /= c.items;
  for (double& t : t_other) t /= c.items;
  Figure f{c.name,          c.other, c.what, c.check, false, spread_of(t_ours), spread_of(t_other),
           spread_of(ratio)};
  state.counters["ratio"] = f.ratio.median;
  state.counters[c.other + "_ms"] = f.other_s.median * 1e3;
  figures().push_back(std::move(f));
}

// Times in the unit that reads best.
inline std::string duration_text(double seconds) {
  char text[32];
  if (seconds >= 0.1)
    std::snprintf(text, sizeof text, "%.3g s", seconds);
  else if (seconds >= 1e-4)
    std::snprintf(text, sizeof text, "%.3g ms", seconds * 1e3);
  else
    std::snprintf(text, sizeof text, "%.3g us", seconds * 1e6);
  return text;
}

// Prints every figure, appends them to $ZKIMGSET_BENCH_RESULTS, and tells
// whether any output check failed.
inline bool report_figures() {
  std::printf("\n%-46s %10s %10s  %s\n", "figure", "ours", "other",
              "ours / other: median (min-max)");
  const char* path = std::getenv("ZKIMGSET_BENCH_RESULTS");
  std::FILE* md = path != nullptr && path[0] != '\0' ? std::fopen(path, "a") : nullptr;
  bool failed = false;
  for (const Figure& f : figures()) {
    if (f.failed) {
      failed = true;
      std::printf("%-46s FAILED: %s\n", f.name.c_str(), f.check.c_str());
      if (md != nullptr)
        std::fprintf(md, "| %s | | | FAILED | %s | %s |\n", f.name.c_str(), f.what.c_str(),
                     f.check.c_str());
      continue;
    }
    std::printf("%-46s %10s %10s  %.3f (%.3f-%.3f) vs %s: %s\n", f.name.c_str(),
                duration_text(f.ours_s.median).c_str(), duration_text(f.other_s.median).c_str(),
                f.ratio.median, f.ratio.min, f.ratio.max, f.other.c_str(), f.what.c_str());
    if (md != nullptr)
      std::fprintf(md, "| %s | %s | %s | **%.3f** (%.3f-%.3f) | %s: %s | %s |\n", f.name.c_str(),
                   duration_text(f.ours_s.median).c_str(), duration_text(f.other_s.median).c_str(),
                   f.ratio.median, f.ratio.min, f.ratio.max, f.other.c_str(), f.what.c_str(),
                   f.check.c_str());
  }
  if (md != nullptr) std::fclose(md);
  return !failed;
}

}  // namespace zkimgset::bench
