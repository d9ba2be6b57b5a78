// The tool as a user runs it: generated pictures in a fresh folder, the
// exit status and the messages, and what is (and is not) left on disk; and
// autosetup --decisions as the review page's user runs it.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "core/json_reader.h"
#include "core/tool_limits.h"
#include "files/input_file.h"
#include "files/picture_file.h"

namespace zkcli {
namespace {

namespace fs = std::filesystem;

struct ToolRun {
  int status;          // exit status, or -1 when it did not exit
  std::string output;  // standard output and standard error
};

ToolRun run_shell(const std::string& command) {
  FILE* pipe = popen(("{ " + command + "\n} 2>&1").c_str(), "r");
  ToolRun run{-1, {}};
  if (!pipe) return run;
  char buffer[4096];
  std::size_t n = 0;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) run.output.append(buffer, n);
  const int status = pclose(pipe);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

ToolRun run_tool(const std::string& arguments) {
  return run_shell(std::string(ZKIMGSET_TEST_TOOL) + " " + arguments);
}

std::string slurp(const fs::path& path) { return read_file(path.string(), kMaxPictureFileBytes); }

void spit(const fs::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// A picture with some structure: gradients, a warm cast and a bright patch.
Picture test_picture(int width, int height, Format format, int seed = 0) {
  Picture p;
  p.format = format;
  p.width = width;
  p.height = height;
  p.rgb.resize(std::size_t(width) * height * 3);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      std::uint8_t* px = &p.rgb[(std::size_t(y) * width + x) * 3];
      const bool patch = x > width / 3 && x < width / 2 && y > height / 3 && y < height / 2;
      px[0] = static_cast<std::uint8_t>(patch ? 230 : 60 + (x * 120) / width + seed);
      px[1] = static_cast<std::uint8_t>(patch ? 220 : 40 + (y * 110) / height);
      px[2] = static_cast<std::uint8_t>(patch ? 200 : 30 + ((x + y) * 60) / (width + height));
    }
  return p;
}

// A JPEG segment: marker, length, body.
std::string jpeg_segment(unsigned marker, const std::string& body) {
  const std::size_t length = body.size() + 2;
  return std::string{'\xFF', static_cast<char>(marker), static_cast<char>(length >> 8),
                     static_cast<char>(length & 0xFF)} +
         body;
}

// A small Exif APP1 segment: a TIFF header and IFD0 with Make.
std::string exif_segment() {
  return jpeg_segment(0xE1,
                      std::string("Exif\0\0II*\0\x08\0\0\0", 14) +
                          std::string("\x01\0\x0F\x01\x02\0\x05\0\0\0\x1A\0\0\0\0\0\0\0", 18) +
                          std::string("Test\0", 5));
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

class Tool : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "zkimgset-cli-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
  }
  void TearDown() override { fs::remove_all(dir_); }

  std::string path(const std::string& name) const { return (dir_ / name).string(); }

  std::string write(const std::string& name, Picture p, Format format = Format::Jpeg) {
    spit(path(name), encode_picture(p, format, {90, ""}));
    return path(name);
  }
  std::string write_jpeg(const std::string& name, int width, int height, int seed = 0) {
    Picture p = test_picture(width, height, Format::Jpeg, seed);
    p.meta.jpeg_segments.push_back(exif_segment());
    return write(name, p);
  }

  fs::path dir_;
};

// A shell line (D/: the test's folder); each '|'-separated fragment must be output, "" none.
struct Row {
  const char* command;
  int status;
  const char* expected;
};

constexpr Row kFileRows[] = {
    // Each failing picture is named with its reason; the others are written.
    {"TOOL autosetup D/missing.jpg D/text.jpg D/truncated.jpg D/small.jpg D/empty.png D/in.jpg "
     "--out-dir D/bad; s=$?; echo files: $(ls -A D/bad); exit $s",
     1,
     "missing.jpg: unreadable: No such file or directory|"
     "text.jpg: not a picture (neither JPEG, PNG nor TIFF)|truncated.jpg: damaged JPEG|"
     "small.jpg: too small (100 x 80; at least 128 x 92 is needed)|"
     "empty.png: not a picture (empty file)|Corrected 1 of 6|files: in.jpg\n"},
    {"TOOL autosetup D/in.jpg -o /proc/zkimgset-test.jpg", 1,
     "cannot write /proc/zkimgset-test.jpg"},
    {"TOOL autosetup D/in.jpg --out-dir /proc/zkimgset-test", 1,
     "cannot create the folder /proc/zkimgset-test"},
    {"TOOL autosetup D/in.jpg -o D/in.jpg", 1, "--in-place"},
    {"TOOL autosetup D/damaged.jpg -o D/damaged-out.jpg", 0,
     "2 extraneous bytes before marker 0xdb"},
    // Only the picture goes to standard output; the messages to standard error.
    {"TOOL autosetup - -o - --format png < D/in.jpg 2>&1 >D/s.png", 0, "Corrected 1 of 1"},
    {"TOOL autosetup -q D/in.jpg -o D/q.jpg", 0, ""},
    // The output format follows the name or --format.
    {"for o in f.png f.TIF f.jpeg 'f.dat --format tiff'; do TOOL autosetup -q D/in.jpg -o D/$o; "
     "done && TOOL convert --op balance --shift 2,0,-2 D/in.jpg -o D/c.jpg && "
     "TOOL analyse D/f.png D/f.TIF D/f.jpeg D/f.dat D/s.png D/c.jpg",
     0,
     "f.png: 320 x 240 PNG|f.TIF: 320 x 240 TIFF|f.jpeg: 320 x 240 JPEG|f.dat: 320 x 240 TIFF|"
     "s.png: 320 x 240 PNG|c.jpg: 320 x 240 JPEG"},
    // Folders: skipped files are counted; -r takes sub-folders and mirrors them.
    {"TOOL autosetup D/in --out-dir D/flat --report D/flat.html", 0,
     "2 skipped: 1 in sub-folders, 1 not pictures; use -r|Report: "},
    {"TOOL autosetup -r D/in --out-dir D/deep --json && TOOL analyse D/deep/sub/b.jpg", 0,
     "\"type\":\"run\",\"pictures\":2,\"corrected\":2,\"unchanged\":0,\"failed\":0,\"skipped\":1|"
     "deep/sub/b.jpg: 320 x 240 JPEG"},
    {"TOOL autosetup D/in.jpg -o D/taken.jpg --no-clobber && cat D/taken.jpg", 0,
     "1 skipped: 1 outputs exist (--no-clobber)|keep me"},
    {"TOOL tables D/good.dat D/bad.dat D/short.dat", 1,
     "1-D table, 256 records|line 5: malformed record \"3,3\"|no line feed at the end"},
    {"TOOL tables", 0, "ZK3DDATA.DAT: library status 0"},
    {"TOOL analyse --json D/in.jpg --dump D/dump && stat -c %s D/dump/in_ThumbYCC128x92.raw", 0,
     "\"tone\":[0,|\"yy_select\":|\n35328\n"},
    {"TOOL analyse --json D/in.jpg - < D/in.jpg", 0, "}\n{\"file\":\"-\""},
    // Exif across formats: into a TIFF's tags and directories, and back.
    {"TOOL autosetup -q " ZKIMGSET_TEST_DATA_DIR "/../../examples/photos/dark-party.jpg -o D/x.tif "
     "&& TOOL autosetup -q D/x.tif -o D/x.jpg && TOOL analyse D/x.jpg",
     0, "Exif: flash 1, brightness 15/10, Eastman Kodak Company DC210 Zoom (V05.00)"},
    // TIFF layouts read (16 bits through 8) and written as 8-bit RGB, same compression.
    {"for o in '-depth 16 -compress lzw' "
     "'-colorspace gray -compress zip' '-colorspace gray -depth 16 -compress none' "
     "'-define tiff:tile-geometry=64x64 -compress lzw'; do convert D/in.jpg $o D/l.tif && "
     "TOOL autosetup -q D/l.tif -o D/l-out.tif && identify -format '%w %z %C,' D/l-out.tif; done",
     0, "320 8 LZW,320 8 Zip,320 8 None,320 8 LZW,"},
    // Pictures that clear analysis stages (flat, busy) must not change what a
    // long-lived worker writes for later ones.
    {"TOOL autosetup -q D/w --jobs 1 --out-dir D/jobs1 && "
     "TOOL autosetup -q D/w --jobs 2 --out-dir D/jobs2 && mkdir D/fresh && for f in D/w/*; do "
     "TOOL autosetup -q $f -o D/fresh/${f##*/}; done && diff -r D/fresh D/jobs1 && "
     "diff -r D/fresh D/jobs2 && ls D/jobs2",
     0, "a-flat.jpg\nb-busy.jpg\np0.jpg\np1.jpg\np2.jpg\np3.jpg\n"},
    // In place: marked and backed up, then skipped, then --force keeps the first backup.
    {"TOOL autosetup --in-place --backup D/m.jpg D/m.png D/m.tif && for f in D/m.*[gf]; do "
     "cmp $f~ $f.0 && ! cmp -s $f $f.0 && cp $f $f.1; done",
     0, "Corrected 3 of 3"},
    {"TOOL autosetup -v --in-place --backup D/m.jpg D/m.png D/m.tif && for f in D/m.*[gf]; do "
     "cmp $f $f.1 || exit 1; done",
     0,
     "m.jpg: skipped: already corrected (marked by zkimgset " ZKIMGSET_CLI_VERSION ")|"
     "m.png: skipped: already corrected|m.tif: skipped: already corrected"},
    {"TOOL autosetup --in-place --backup --force D/m.jpg D/m.png D/m.tif && for f in D/m.*[gf]; do "
     "cmp $f~ $f.0 || exit 1; done",
     0, "Corrected 3 of 3"},
};

TEST_F(Tool, CommandLinesWithTheirStatusMessagesAndFiles) {
  const std::string in = write_jpeg("in.jpg", 320, 240);
  const std::string original = slurp(in);
  spit(path("text.jpg"), "just some text, not a picture\n");
  spit(path("truncated.jpg"), original.substr(0, original.size() / 2));
  write_jpeg("small.jpg", 100, 80);
  spit(path("empty.png"), "");
  std::string damaged = original;
  damaged.insert(damaged.find("\xFF\xDB"), std::string("\0\0", 2));
  spit(path("damaged.jpg"), damaged);
  EXPECT_EQ(decode_picture(damaged, kMaxSide).notes.size(), 1u);
  EXPECT_THROW(decode_picture(original.substr(0, original.size() / 2), kMaxSide), Failure);
  fs::create_directories(path("in/sub"));
  write_jpeg("in/a.jpg", 320, 240);
  write_jpeg("in/sub/b.jpg", 320, 240);
  spit(path("in/notes.txt"), "not a picture");
  spit(path("taken.jpg"), "keep me");
  std::string good = "1D\n", bad = "1D\n";
  for (int i = 0; i < 256; ++i) {
    const std::string n = std::to_string(i), record = n + "," + n + "," + n + "," + n + "\n";
    good += record;
    bad += i == 3 ? "3,3\n" : record;
  }
  spit(path("good.dat"), good);
  spit(path("bad.dat"), bad);
  spit(path("short.dat"), good.substr(0, good.size() - 1));
  fs::create_directories(path("w"));
  Picture flat = test_picture(200, 150, Format::Jpeg), busy = test_picture(240, 180, Format::Jpeg);
  std::fill(flat.rgb.begin(), flat.rgb.end(), 128);
  for (std::size_t i = 0; i < busy.rgb.size(); ++i)
    busy.rgb[i] = static_cast<std::uint8_t>((i * 7919) % 251);
  write("w/a-flat.jpg", flat);
  write("w/b-busy.jpg", busy);
  for (int i = 0; i < 4; ++i)
    write_jpeg("w/p" + std::to_string(i) + ".jpg", 300 + 20 * i, 200, 10 * i);
  for (const Format format : {Format::Jpeg, Format::Png, Format::Tiff}) {
    const std::string name = std::string("m") + format_extension(format);
    spit(path(name + ".0"), slurp(write(name, test_picture(320, 240, format), format)));
  }

  for (const Row& row : kFileRows) {
    const ToolRun run = run_shell(
        replaced(replaced(row.command, "D/", dir_.string() + "/"), "TOOL", ZKIMGSET_TEST_TOOL));
    EXPECT_EQ(run.status, row.status) << row.command << "\n" << run.output;
    if (!*row.expected) {
      EXPECT_EQ(run.output, "") << row.command;
    }
    for (std::string left = row.expected; !left.empty();) {
      const std::string fragment = left.substr(0, left.find('|'));
      left.erase(0, std::min(left.size(), fragment.size() + 1));
      EXPECT_NE(run.output.find(fragment), std::string::npos) << row.command << "\n" << run.output;
    }
    // No temporary file is ever left behind.
    for (const auto& e : fs::recursive_directory_iterator(dir_))
      EXPECT_NE(e.path().filename().string()[0], '.') << row.command << ": " << e.path();
  }
  EXPECT_TRUE(slurp(in) == original) << "the input was overwritten";
}

TEST(ToolUsage, MistakesExitWithTwoAndSayWhyHelpSucceeds) {
  constexpr Row kRows[] = {
      {"", 2, "Usage: zkimgset COMMAND"},
      {"autosetup a.jpg", 2, "say where to write"},
      {"autosetup a.jpg b.jpg -o c.jpg", 2, "use --out-dir for 2 pictures"},
      {"autosetup a.jpg -o b.jpg --level 200", 2, "--level: 200 is outside 70..130"},
      {"autosetup a.jpg -o b.jpg --mode 0xZZ", 2, "not a hexadecimal number"},
      {"autosetup a.jpg -o b.jpg --contrast=31", 2, "--contrast: 31 is outside -30..30"},
      {"autosetup a.jpg -o b.jpg --saturation", 2, "--saturation needs a value"},
      {"autosetup a.jpg -o b.jpg --bogus", 2, "unknown option --bogus"},
      {"autosetup a.jpg -o b.jpg --", 2, "nothing after --"},
      {"autosetup -o b.jpg -- -a.jpg", 1, "-a.jpg: unreadable"},
      {"autosetup a.jpg -o b.png --format jpeg", 2, "--format jpeg does not match the name b.png"},
      {"autosetup - --out-dir d", 2, "a picture from standard input needs -o OUT"},
      {"autosetup x/a.jpg y/a.jpg --out-dir o", 2, "two pictures would be written to o/a.jpg"},
      {"convert --op bogus a.jpg -o b.jpg", 2, "unknown conversion 'bogus'"},
      {"convert --op den2ta a.jpg -o b.jpg --format gif", 2, "'gif' is not jpeg, png or tiff"},
      {"convert --op den2ta --shift 1,2 a.jpg -o b.jpg", 2, "three numbers"},
      {"--version", 0, "zkimgset " ZKIMGSET_CLI_VERSION " (library "},
      {"autosetup --help", 0, "Usage: zkimgset autosetup"},
  };
  for (const Row& row : kRows) {
    const ToolRun run = run_tool(row.command);
    EXPECT_EQ(run.status, row.status) << row.command << "\n" << run.output;
    EXPECT_NE(run.output.find(row.expected), std::string::npos) << row.command << "\n"
                                                                << run.output;
  }
}

// Metadata written back byte for byte: JPEG segments in order (no JFIF before
// Exif), PNG chunks around the image data, transparency, a TIFF's Exif directory.
TEST_F(Tool, CorrectsAndKeepsMetadataByteForByte) {
  Picture jpeg = test_picture(320, 240, Format::Jpeg);
  const std::string xmp = "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF/></x:xmpmeta>";
  jpeg.meta.jpeg_segments = {
      exif_segment(), jpeg_segment(0xE1, std::string("http://ns.adobe.com/xap/1.0/\0", 29) + xmp),
      jpeg_segment(0xE2, std::string("ICC_PROFILE\0\x01\x01", 14) + "profile bytes"),
      jpeg_segment(0xED, std::string("Photoshop 3.0\0", 14) + "8BIM\x04\x04 iptc"),
      jpeg_segment(0xFE, "a comment")};
  write("in.jpg", jpeg);
  Picture png = test_picture(200, 150, Format::Png);
  png.alpha.resize(200 * 150);
  for (std::size_t i = 0; i < png.alpha.size(); ++i)
    png.alpha[i] = static_cast<std::uint8_t>(i * 7);
  png.meta.png_chunks_before = {std::string("tEXtTitle\0Harbour", 17),
                                std::string("eXIf") + exif_segment().substr(10)};
  png.meta.png_chunks_after = {std::string("tIME\x07\xE9\x01\x02\x03\x04\x05", 11),
                               std::string("iTXtXML:com.adobe.xmp\0\0\0\0\0", 26) + xmp};
  write("in.png", png, Format::Png);

  for (const char* name : {"in.jpg", "in.png"}) {
    const ToolRun run = run_tool("autosetup " + path(name) + " --out-dir " + path("out"));
    ASSERT_EQ(run.status, 0) << run.output;
    const Picture before = decode_picture(slurp(path(name)), kMaxSide);
    const Picture after = decode_picture(slurp(path(std::string("out/") + name)), kMaxSide);
    EXPECT_EQ(after.alpha, before.alpha) << name;
    EXPECT_EQ(after.meta.jpeg_segments, before.meta.jpeg_segments) << name;
    EXPECT_EQ(after.meta.png_chunks_before, before.meta.png_chunks_before) << name;
    EXPECT_EQ(after.meta.png_chunks_after, before.meta.png_chunks_after) << name;
    EXPECT_EQ(after.meta.xmp, xmp) << name;
  }
  EXPECT_EQ(decode_picture(slurp(path("in.jpg")), kMaxSide).meta.jpeg_segments.size(), 5u);
  EXPECT_EQ(slurp(path("out/in.jpg")).substr(2, 2), "\xFF\xE1");
  // Its made-up profile cannot go into a PNG: the picture fails, it is not dropped.
  const ToolRun as_png = run_tool("autosetup " + path("in.jpg") + " -o " + path("in-as.png"));
  EXPECT_EQ(as_png.status, 1);
  EXPECT_NE(as_png.output.find("cannot encode PNG: libpng refuses its ICC profile"),
            std::string::npos)
      << as_png.output;

  // A camera TIFF with Exif, IPTC and XMP.
  const std::string tiff = std::string(ZKIMGSET_TEST_DATA_DIR) + "/exif/real/ev_Reagan.tiff";
  ASSERT_EQ(run_tool("autosetup " + tiff + " -o " + path("out.tif")).status, 0);
  const Picture before = decode_picture(slurp(tiff), kMaxSide);
  Picture after = decode_picture(slurp(path("out.tif")), kMaxSide);
  ASSERT_TRUE(before.meta.tiff.exif && after.meta.tiff.exif);
  ASSERT_EQ(after.meta.tiff.exif->entries.size(), before.meta.tiff.exif->entries.size());
  for (std::size_t i = 0; i < before.meta.tiff.exif->entries.size(); ++i)
    EXPECT_EQ(after.meta.tiff.exif->entries[i].value, before.meta.tiff.exif->entries[i].value);
  EXPECT_EQ(after.meta.tiff.iptc, before.meta.tiff.iptc);
  EXPECT_EQ(after.meta.xmp, before.meta.xmp);
  EXPECT_EQ(after.meta.tiff.texts, before.meta.tiff.texts);
  EXPECT_EQ(after.meta.tiff.x_resolution, before.meta.tiff.x_resolution);
  for (const Format via : {Format::Jpeg, Format::Png}) {
    Picture there = decode_picture(encode_picture(after, via, {90, ""}), kMaxSide);
    const Picture back = decode_picture(encode_picture(there, Format::Tiff, {90, ""}), kMaxSide);
    ASSERT_TRUE(back.meta.tiff.exif);
    EXPECT_EQ(back.meta.tiff.exif->entries.size(), before.meta.tiff.exif->entries.size());
    EXPECT_EQ(back.meta.xmp, before.meta.xmp);
    EXPECT_EQ(back.meta.icc, before.meta.icc);
  }
  // The library still finds the shooting values in the copied directory.
  EXPECT_NE(run_tool("analyse " + path("out.tif")).output.find("NIKON CORPORATION NIKON D1X"),
            std::string::npos);
}

const std::string kPhotos =
    (fs::path(ZKIMGSET_TEST_DATA_DIR) / "../../examples/photos/").lexically_normal().string();

// A file as the page writes it, one of each decision; checked whole before any picture.
constexpr const char* kDecisionsText = R"({"type":"zkimgset-decisions","version":1,
 "base":"/tmp","report":"out/report.html",
 "settings":{"mode":223,"level":100,"contrast":0,"saturation":0,"blue_shift":0,"red_shift":0,
             "exif":true,"quality":95},
 "pictures":[
  {"file":"a.jpg","output":"out/a.jpg","name":"a.jpg","format":"jpeg","decision":"accept"},
  {"file":"b.jpg","output":null,"name":"b.jpg","format":"jpeg","decision":"reject"},
  {"file":"c.jpg","output":"out/c.jpg","name":"sub/c.jpg","format":"png","decision":"adjust",
   "adjustments":{"level":110,"contrast":5,"saturation":0,"blue_shift":0,"red_shift":-2}}]})";

// Mistakes in the file or the options exit with 2, naming the place, and write nothing.
TEST_F(Tool, DecisionMistakesExitWithTwoNamingThePlaceAndWriteNothing) {
  const struct {
    const char* from;  // in kDecisionsText
    std::string to;
    const char* expected;
  } in_file[] = {
      {"\"level\":110", "\"level\":150",
       "decisions.json: pictures[2].adjustments.level: 150 is outside 70..130"},
      {"\"red_shift\":-2", "\"red_shift\":-2.5",
       "pictures[2].adjustments.red_shift: -2.5 is not a whole number"},
      {",\n   \"adjustments\"", ",\"x\"", "pictures[2].adjustments: missing"},
      {"\"decision\":\"reject\"", "\"decision\":\"maybe\"",
       "pictures[1].decision: \"maybe\" is not accept, reject or adjust"},
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
      {"zkimgset-decisions", "other", "type: \"other\" is not \"zkimgset-decisions\""},
      {"\"exif\":true", "\"exif\":1", "settings.exif: expected true or false, found a number"},
      {"\"format\":\"png\"", "\"format\":\"PNG\"", "\"PNG\" is not jpeg, png or tiff"},
      {"\"level\":110", "\"level\":1e400", "not valid JSON at byte"},
      {"\"output\":null", "\"output\":7", "expected a string or null, found a number"},
      // The JSON reader's refusals, with the place.
      {"\"base\"", "\"base\" \"base\"",
       "decisions.json: not valid JSON at byte 50 (line 2): expected ':'"},
      {"\"base\"",
       "\"x\":" + std::string(kMaxJsonDepth + 1, '[') + std::string(kMaxJsonDepth + 1, ']') +
           ",\"base\"",
       "nested deeper than 64 levels"},
      {"\"version\":1", "\"version\":1,\"version\":1", "the key \"version\" appears twice"},
      {"\"name\":\"b.jpg\"", "\"name\":\"b\xC0\xAF.jpg\"", "not UTF-8"},
      {"\"name\":\"b.jpg\"", "\"name\":\"\\ud800.jpg\"", "a lone surrogate"},
      {kDecisionsText, "[]", "decisions.json: expected a JSON object, found an array"},
  };
  const struct {
    const char* options;  // after --decisions FILE
    const char* expected;
  } in_options[] = {
      {"", "--decisions needs --out-dir DIR"},
      {"--out-dir DIR a.jpg", "no input pictures go with it"},
      {"--out-dir DIR -o x.jpg", "-o does not go with it"},
      {"--out-dir DIR --level 100",
       "--decisions takes the reviewed run's settings from FILE; --level does not go"},
  };
  const auto check = [&](const std::string& text, const std::string& options,
                         const std::string& expected) {
    spit(path("decisions.json"), text);
    const ToolRun run = run_tool("autosetup --decisions " + path("decisions.json") + " " +
                                 replaced(options, "DIR", path("final")));
    EXPECT_EQ(run.status, 2) << run.output;
    EXPECT_NE(run.output.find(expected), std::string::npos) << run.output;
    EXPECT_FALSE(fs::exists(path("final")));
  };
  for (const auto& m : in_file)
    check(replaced(kDecisionsText, m.from, m.to), "--out-dir DIR", m.expected);
  for (const auto& m : in_options) check(kDecisionsText, m.options, m.expected);
}

// Pictures that cannot be carried out fail one by one, with their reasons.
TEST_F(Tool, EachDecidedPictureFailsWithItsOwnReason) {
  fs::create_directory(path("first"));
  fs::copy_file(kPhotos + "dark-party.jpg", path("first/dark-party.jpg"));
  const struct {
    const char* picture;
    const char* out_dir;
    int status;
    const char* expected;
  } cases[] = {
      {R"("file":null,"output":"gone.jpg","decision":"accept")", "final", 1,
       "the accepted output BASE/gone.jpg: unreadable: No such file"},
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
    EXPECT_NE(run.output.find(replaced(c.expected, "BASE", dir_.string())), std::string::npos)
        << c.picture << "\n"
        << run.output;
    EXPECT_TRUE(slurp(path("first/dark-party.jpg")) == slurp(kPhotos + "dark-party.jpg"));
  }
}

// A first run, its decisions (two pictures adjusted differently: a worker must not carry
// one's adjustments to the next), and the second run at one and two workers.
TEST_F(Tool, SecondRunWritesWhatTheDecisionsAsk) {
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
   "name":"indoor-cast-c\u006F\u00F6l.jpg","format":"jpeg","decision":"adjust",
   "adjustments":{"level":100,"contrast":0,"saturation":-40,"blue_shift":3,"red_shift":0}}]})");

  for (const char* jobs : {"1", "2"}) {
    const std::string final_dir = path(std::string("final") + jobs);
    run = run_tool("autosetup --decisions " + path("decisions.json") + " --out-dir " + final_dir +
                   " --jobs " + jobs);
    ASSERT_EQ(run.status, 0) << run.output;
    const std::pair<const char*, const char*> same[] = {
        {"bright-facade.jpg", "first/bright-facade.jpg"},
        {"sub/indoor-cast.png", "direct.png"},
        {"indoor-cast-co\xC3\xB6l.jpg", "direct.jpg"}};
    for (const auto& [written, expected] : same)
      EXPECT_TRUE(slurp(final_dir + "/" + written) == slurp(path(expected))) << written << jobs;
    EXPECT_FALSE(fs::exists(final_dir + "/dark-party.jpg"));
    EXPECT_NE(run.output.find("Corrected 3 of 4 pictures"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("1 skipped: 1 rejected in review"), std::string::npos) << run.output;
  }
  run = run_tool("autosetup --decisions " + path("decisions.json") + " --out-dir " +
                 path("final3") + " --json --report " + path("final3/review.html"));
  for (const char* json : {"\"decision\":\"adjust\",\"adjustments\":{\"level\":110,\"contrast\":5,",
                           "\"review\":{\"mean_level\":[", "\"type\":\"run\""})
    EXPECT_NE(run.output.find(json), std::string::npos) << json << "\n" << run.output;
}

}  // namespace
}  // namespace zkcli
