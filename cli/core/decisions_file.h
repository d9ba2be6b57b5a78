// A review's decisions read back into a run: the file the review page
// exports after an operator accepted, rejected or adjusted each picture of
// an earlier autosetup run. It gives that run's settings and, for each
// picture, a job: an adjusted one corrected again from its original with
// its own adjustments, an accepted one's earlier output copied, a rejected
// one skipped. The file is checked whole before anything is written: any
// mistake in it is a UsageError naming its place
// ("decisions.json: pictures[2].adjustments.level: 150 is outside 70..130").
// Keys the tool does not know are passed over, so the page may add some.
#pragma once

#include <string>
#include <vector>

#include "core/correction.h"
#include "core/output_plan.h"

namespace zkcli {

// The reason a picture rejected in the review is skipped with, which the
// closing summary counts by.
inline constexpr const char* kRejectedInReview = "rejected in review";

// The jobs of the decisions file at path, writing into plan.target (each
// picture under its "name"; plan.no_clobber skips existing outputs).
// settings gets the reviewed run's mode, adjustments, Exif choice and
// quality, and force (originals that carry the correction mark are
// corrected again, as the reviewed run did); the rest is left as it is.
std::vector<Job> read_decisions(const std::string& path, const PlanOptions& plan,
                                RunSettings& settings);

// With --decisions, the settings come from the file and the pictures go
// into --out-dir: a UsageError for an input, a missing --out-dir, or any
// option (by name, as Arguments::given lists them) but --out-dir, --jobs,
// -q, -v, --json, --no-clobber and --report.
void check_decisions_options(const std::vector<std::string>& given, bool inputs_given);

}  // namespace zkcli
