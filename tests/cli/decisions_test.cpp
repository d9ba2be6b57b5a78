// autosetup --decisions as the review page's user runs it: a first run, a
// decisions file, and what the second run writes, says and refuses.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "core/json_reader.h"
#include "tool_run.h"

namespace zkcli {
namespace {

namespace fs = std::filesystem;

// Replaces the first `from` in text by `to`.
std::string edited(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

const std::string kPhotos =
    (fs::path(ZKIMGSET_TEST_DATA_DIR) / "../../examples/photos/").lexically_normal().string();

class Decisions : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "zkimgset-decisions-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
  }
  void TearDown() override { fs::remove_all(dir_); }
  std::string path(const std::string& name) const { return (dir_ / name).string(); }

  fs::path dir_;
};

// A file as the page writes it, one of each decision; the paths are not
// read before the file is whole, so mistakes in it need no pictures.
constexpr const char* kDecisionsText = R"({"type":"zkimgset-decisions","version":1,
 "base":"/tmp","report":"out/report.html",
 "settings":{"mode":223,"level":100,"contrast":0,"saturation":0,"blue_shift":0,"red_shift":0,
             "exif":true,"quality":95},
 "pictures":[
  {"file":"a.jpg","output":"out/a.jpg","name":"a.jpg","format":"jpeg","decision":"accept"},
  {"file":"b.jpg","output":null,"name":"b.jpg","format":"jpeg","decision":"reject"},
  {"file":"c.jpg","output":"out/c.jpg","name":"sub/c.jpg","format":"png","decision":"adjust",
   "adjustments":{"level":110,"contrast":5,"saturation":0,"blue_shift":0,"red_shift":-2}}]})";

// Mistakes in the file (with --out-dir DIR) or in the options exit with 2,
// naming the place, and write nothing.
TEST_F(Decisions, MistakesExitWithTwoNamingThePlaceAndWriteNothing) {
  const struct {
    const char* from;  // in kDecisionsText
    const char* to;
    const char* expected;
  } in_file[] = {
      {"\"level\":110", "\"level\":150",
       "decisions.json: pictures[2].adjustments.level: 150 is outside 70..130"},
      {"\"red_shift\":-2", "\"red_shift\":-2.5",
       "pictures[2].adjustments.red_shift: -2.5 is not a whole number"},
      {",\n   \"adjustments\"", ",\"x\"", "pictures[2].adjustments: missing"},
      {"\"mode\":223", "\"mode\":256", "settings.mode: 256 is outside 0..255"},
      {"\"quality\":95", "\"qualities\":95", "settings.quality: missing"},
      {"\"exif\":true", "\"exif\":\"yes\"",
       "settings.exif: expected true or false, found a string"},
      {"\"decision\":\"reject\"", "\"decision\":\"maybe\"",
       "pictures[1].decision: \"maybe\" is not accept, reject or adjust"},
      {"\"format\":\"png\"", "\"format\":\"gif\"",
       "pictures[2].format: \"gif\" is not jpeg, png or tiff"},
      {"\"file\":\"b.jpg\"", "\"file\":7",
       "pictures[1].file: expected a string or null, found a number"},
      {"\"name\":\"b.jpg\"", "\"name\":\"/tmp/b.jpg\"",
       "pictures[1].name: \"/tmp/b.jpg\" is absolute"},
      {"\"name\":\"sub/c.jpg\"", "\"name\":\"sub/../../c.jpg\"",
       "pictures[2].name: \"sub/../../c.jpg\" goes up with '..'"},
      {"\"name\":\"b.jpg\"", "\"name\":\"./a.jpg\"",
       "pictures[1].name: \"./a.jpg\" is also the name of pictures[0]"},
      {"\"name\":\"b.jpg\"", "\"name\":\"b.jpg\\u0000x\"",
       "pictures[1].name: a path with a NUL character"},
      {"\"base\":\"/tmp\"", "\"base\":\"tmp\"", "base: \"tmp\" is not an absolute path"},
      {"\"version\":1", "\"version\":2", "version: 2 is not a version this tool reads"},
      {"zkimgset-decisions", "zkimgset-report",
       "type: \"zkimgset-report\" is not \"zkimgset-decisions\""},
      {"\"pictures\":[", "\"pictures\":[],\"old\":[", "pictures: no pictures"},
      {"\"base\"", "\"base\" \"base\"",
       "decisions.json: not valid JSON at byte 50 (line 2): expected ':'"},
  };
  const struct {
    const char* options;  // after --decisions FILE
    const char* expected;
  } in_options[] = {
      {"", "--decisions needs --out-dir DIR"},
      {"--out-dir DIR -o x.jpg", "-o does not go with it"},
      {"--out-dir DIR a.jpg", "no input pictures go with it"},
      {"--out-dir DIR --level 100",
       "--decisions takes the reviewed run's settings from FILE; --level does not go"},
      {"--out-dir DIR --format=png", "--format does not go with it"},
      {"--out-dir DIR --force", "--force does not go with --decisions"},
  };
  const auto check = [&](const std::string& text, const std::string& options,
                         const std::string& expected) {
    spit(path("decisions.json"), text);
    const ToolRun run = run_tool("autosetup --decisions " + path("decisions.json") + " " +
                                 edited(options, "DIR", path("final")));
    EXPECT_EQ(run.status, 2) << run.output;
    EXPECT_NE(run.output.find(expected), std::string::npos) << run.output;
    EXPECT_FALSE(fs::exists(path("final")));
  };
  for (const auto& m : in_file)
    check(edited(kDecisionsText, m.from, m.to), "--out-dir DIR", m.expected);
  for (const auto& m : in_options) check(kDecisionsText, m.options, m.expected);
}

// Pictures that cannot be carried out fail (or are kept) one by one, with
// their reasons; the run goes on.
TEST_F(Decisions, EachPictureFailsWithItsOwnReason) {
  fs::create_directory(path("first"));
  fs::copy_file(kPhotos + "dark-party.jpg", path("first/dark-party.jpg"));
  const struct {
    const char* picture;
    const char* out_dir;
    int status;
    const char* expected;
  } cases[] = {
      {R"("file":null,"output":null,"decision":"accept")", "final", 1, "no output to copy"},
      {R"("file":null,"output":"gone.jpg","decision":"accept")", "final", 1,
       "the accepted output BASE/gone.jpg: unreadable: No such file"},
      {R"("file":null,"output":"first/dark-party.jpg","decision":"adjust",)"
       R"("adjustments":{"level":100,"contrast":0,"saturation":0,"blue_shift":0,"red_shift":0})",
       "final", 1, "the original is gone"},
      {R"("file":"first/dark-party.jpg","output":null,"decision":"adjust",)"
       R"("adjustments":{"level":100,"contrast":0,"saturation":0,"blue_shift":0,"red_shift":0})",
       "first", 1, "the output would overwrite the original"},
      {R"("file":null,"output":"first/dark-party.jpg","decision":"accept")", "first", 0,
       "accepted: already at BASE/first/dark-party.jpg"},
  };
  for (const auto& c : cases) {
    const std::string text = R"({"type":"zkimgset-decisions","version":1,"base":")" +
                             dir_.string() + R"(","settings":{"mode":223,"level":100,)" +
                             R"("contrast":0,"saturation":0,"blue_shift":0,"red_shift":0,)" +
                             R"("exif":true,"quality":95},"pictures":[{"name":"dark-party.jpg",)" +
                             R"("format":"jpeg",)" + c.picture + "}]}";
    spit(path("decisions.json"), text);
    const ToolRun run = run_tool("autosetup --decisions " + path("decisions.json") + " --out-dir " +
                                 path(c.out_dir));
    EXPECT_EQ(run.status, c.status) << c.picture << "\n" << run.output;
    EXPECT_NE(run.output.find(edited(c.expected, "BASE", dir_.string())), std::string::npos)
        << c.picture << "\n"
        << run.output;
    EXPECT_TRUE(slurp(path("first/dark-party.jpg")) == slurp(kPhotos + "dark-party.jpg"));
  }
}

// The whole loop: a first run, its review's decisions (two pictures
// adjusted differently, so that a worker must not carry one's adjustments
// to the next), and the second run at one and two workers.
TEST_F(Decisions, SecondRunWritesWhatTheDecisionsAsk) {
  const std::string settings = "--mode 0xDB --quality 90";
  ToolRun run =
      run_tool("autosetup " + kPhotos + " --out-dir " + path("first") + " --json " + settings);
  ASSERT_EQ(run.status, 0) << run.output;
  ASSERT_NE(run.output.find("\"corrected\":3"), std::string::npos) << run.output;

  // What a fresh run with each picture's adjustments writes.
  for (const char* direct : {"direct.png --level 110 --contrast 5 --red-shift -2",
                             "direct.jpg --saturation -40 --blue-shift 3"}) {
    run = run_tool("autosetup " + kPhotos + "indoor-cast.jpg " + settings + " -o " + path(direct));
    ASSERT_EQ(run.status, 0) << run.output;
  }
  // Relative paths are the first run's, relative to its folder (base); a
  // key the tool does not know is passed over.
  spit(path("decisions.json"), R"({"type":"zkimgset-decisions","version":1,"base":")" +
                                   dir_.string() + R"(",
 "settings":{"mode":219,"level":100,"contrast":0,"saturation":0,"blue_shift":0,"red_shift":0,
             "exif":true,"quality":90},"later":{"key":[1]},
 "pictures":[
  {"file":")" + kPhotos + R"(bright-facade.jpg","output":"first/bright-facade.jpg",
   "name":"bright-facade.jpg","format":"jpeg","decision":"accept","note":"fine"},
  {"file":")" + kPhotos + R"(dark-party.jpg","output":"first/dark-party.jpg",
   "name":"dark-party.jpg","format":"jpeg","decision":"reject"},
  {"file":")" + kPhotos + R"(indoor-cast.jpg","output":"first/indoor-cast.jpg",
   "name":"sub/indoor-cast.png","format":"png","decision":"adjust",
   "adjustments":{"level":110,"contrast":5,"saturation":0,"blue_shift":0,"red_shift":-2}},
  {"file":")" + kPhotos + R"(indoor-cast.jpg","output":null,
   "name":"indoor-cast-cool.jpg","format":"jpeg","decision":"adjust",
   "adjustments":{"level":100,"contrast":0,"saturation":-40,"blue_shift":3,"red_shift":0}}]})");

  for (const char* jobs : {"1", "2"}) {
    const std::string final_dir = path(std::string("final") + jobs);
    run = run_tool("autosetup --decisions " + path("decisions.json") + " --out-dir " + final_dir +
                   " --json --jobs " + jobs);
    ASSERT_EQ(run.status, 0) << run.output;
    const std::pair<const char*, const char*> same[] = {
        {"bright-facade.jpg", "first/bright-facade.jpg"},
        {"sub/indoor-cast.png", "direct.png"},
        {"indoor-cast-cool.jpg", "direct.jpg"}};
    for (const auto& [written, expected] : same)
      EXPECT_TRUE(slurp(final_dir + "/" + written) == slurp(path(expected))) << written << jobs;
    EXPECT_FALSE(fs::exists(final_dir + "/dark-party.jpg"));

    // One JSON line a picture, in the order they ended, then the run's.
    std::vector<std::string> seen;
    JsonValue line;
    for (std::size_t at = 0, end = 0; (end = run.output.find('\n', at)) != std::string::npos;
         at = end + 1) {
      line = parse_json(run.output.substr(at, end - at));
      if (const JsonValue* decision = line.find("decision"))
        seen.push_back(
            decision->string + " " + line.find("status")->string + ": " +
            (decision->string != "adjust"
                 ? line.find("summary")->string
                 : line.find("output_format")->string + " level " +
                       std::to_string(int(line.find("adjustments")->find("level")->number))));
    }
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, (std::vector<std::string>{
                        "accept corrected: accepted: copied " + path("first/bright-facade.jpg") +
                            " -> " + final_dir + "/bright-facade.jpg",
                        "adjust corrected: jpeg level 100", "adjust corrected: png level 110",
                        "reject skipped: rejected in review"}));
    const JsonValue& closing = line;
    EXPECT_EQ(closing.find("type")->string, "run");
    EXPECT_EQ(closing.find("pictures")->number, 4);
    EXPECT_EQ(closing.find("corrected")->number, 3);
    EXPECT_EQ(closing.find("skipped")->number, 1);
    EXPECT_EQ(closing.find("skipped_by_reason")->find("rejected in review")->number, 1);
    EXPECT_EQ(closing.find("settings")->string.rfind("mode 0xDB, level 100", 0), 0u);
  }
  run =
      run_tool("autosetup --decisions " + path("decisions.json") + " --out-dir " + path("final1"));
  EXPECT_NE(run.output.find("Corrected 3 of 4 pictures"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("1 skipped: 1 rejected in review"), std::string::npos) << run.output;
}

}  // namespace
}  // namespace zkcli
