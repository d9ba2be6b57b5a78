// A console reporter that also prints, for every benchmark family that has
// an "ours" and a "floor" (or "peer") run, the ratio of their times: the
// figure our speed goals are stated in, measured in one run on one machine.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

namespace zkimgset::bench {

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      // "Family/role", possibly followed by the suffixes Google Benchmark
      // adds ("/real_time", "/iterations:5").
      const std::string name = run.benchmark_name();
      const std::size_t slash = name.find('/');
      if (slash == std::string::npos) continue;
      const std::size_t end = name.find('/', slash + 1);
      times_[name.substr(0, slash)][name.substr(slash + 1, end - slash - 1)] =
          run.GetAdjustedRealTime();
    }
  }

  void Finalize() override {
    ConsoleReporter::Finalize();
    for (const auto& [family, runs] : times_) {
      const auto ours = runs.find("ours");
      if (ours == runs.end()) continue;
      for (const char* other : {"floor", "peer"}) {
        const auto it = runs.find(other);
        if (it != runs.end() && it->second > 0)
          std::printf("%s: ours / %s = %.3g\n", family.c_str(), other, ours->second / it->second);
      }
    }
  }

 private:
  std::map<std::string, std::map<std::string, double>> times_;
};

}  // namespace zkimgset::bench

#define ZKIMGSET_BENCHMARK_MAIN()                 \
  int main(int argc, char** argv) {               \
    benchmark::Initialize(&argc, argv);           \
    zkimgset::bench::RatioReporter reporter;      \
    benchmark::RunSpecifiedBenchmarks(&reporter); \
    benchmark::Shutdown();                        \
    return 0;                                     \
  }
