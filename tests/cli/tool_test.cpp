// The tool as a user runs it: generated pictures in a fresh folder, the
// exit status and the messages, and what is (and is not) left on disk.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "core/tool_limits.h"
#include "files/input_file.h"
#include "files/picture_file.h"
#include "files/tiff_directory.h"
#include "tool_run.h"

namespace zkcli {
namespace {

namespace fs = std::filesystem;

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

// A small Exif APP1 segment: a TIFF header and IFD0 with Make.
std::string exif_segment() {
  const std::string tiff = std::string("II*\0\x08\0\0\0", 8) +
                           std::string("\x01\0\x0F\x01\x02\0\x05\0\0\0\x1A\0\0\0\0\0\0\0", 18) +
                           std::string("Test\0", 5);
  const std::string body = std::string("Exif\0\0", 6) + tiff;
  const std::size_t length = body.size() + 2;
  return std::string("\xFF\xE1", 2) + static_cast<char>(length >> 8) +
         static_cast<char>(length & 0xFF) + body;
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

  std::string write_jpeg(const std::string& name, int width, int height, int seed = 0) {
    Picture p = test_picture(width, height, Format::Jpeg, seed);
    p.meta.jpeg_segments.push_back(exif_segment());
    spit(path(name), encode_picture(p, Format::Jpeg, {90, ""}));
    return path(name);
  }

  // Names in a folder, temporary files included.
  static std::vector<std::string> listing(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(folder)) names.push_back(e.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  fs::path dir_;
};

TEST_F(Tool, JpegRoundTripKeepsSizeAndExifSegment) {
  const std::string in = write_jpeg("in.jpg", 320, 240);
  const ToolRun run = run_tool("autosetup " + in + " -o " + path("out.jpg"));
  ASSERT_EQ(run.status, 0) << run.output;
  const std::string out = slurp(path("out.jpg"));
  const Picture decoded = decode_picture(out, 6144);
  EXPECT_EQ(decoded.width, 320);
  EXPECT_EQ(decoded.height, 240);
  ASSERT_EQ(decoded.meta.jpeg_segments.size(), 1u);
  EXPECT_EQ(decoded.meta.jpeg_segments[0], exif_segment());
  EXPECT_EQ(out.substr(2, 2), "\xFF\xE1") << "Exif must follow SOI, with no JFIF header before it";
  EXPECT_NE(decoded.rgb, decode_picture(slurp(in), 6144).rgb) << "the picture was not corrected";
}

TEST_F(Tool, PngRoundTripKeepsTransparency) {
  Picture p = test_picture(200, 150, Format::Png);
  p.alpha.resize(200 * 150);
  for (std::size_t i = 0; i < p.alpha.size(); ++i) p.alpha[i] = static_cast<std::uint8_t>(i * 7);
  spit(path("in.png"), encode_picture(p, Format::Png, {}));
  const ToolRun run = run_tool("autosetup " + path("in.png") + " -o " + path("out.png"));
  ASSERT_EQ(run.status, 0) << run.output;
  const Picture out = decode_picture(slurp(path("out.png")), 6144);
  EXPECT_EQ(out.format, Format::Png);
  EXPECT_EQ(out.width, 200);
  EXPECT_EQ(out.alpha, p.alpha);
}

struct BadInput {
  const char* name;
  const char* expected;  // in the message
};

class ToolBadInput : public Tool, public ::testing::WithParamInterface<BadInput> {};

TEST_P(ToolBadInput, FailsWithItsReasonAndLeavesNothing) {
  const BadInput& bad = GetParam();
  const std::string valid = slurp(write_jpeg("source.jpg", 320, 240));
  const std::string name = bad.name;
  if (name == "text.jpg") spit(path(name), "just some text, not a picture\n");
  if (name == "truncated.jpg") spit(path(name), valid.substr(0, valid.size() / 2));
  if (name == "small.jpg") write_jpeg(name, 100, 80);
  if (name == "empty.png") spit(path(name), "");
  if (name == "device.jpg") fs::create_symlink("/dev/null", path(name));
  fs::create_directory(path("out"));
  const ToolRun run =
      run_tool("autosetup " + path(name) + " " + path("source.jpg") + " --out-dir " + path("out"));
  EXPECT_EQ(run.status, 1) << run.output;
  EXPECT_NE(run.output.find(bad.expected), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("Corrected 1 of 2"), std::string::npos) << run.output;
  // Only the good picture's output, and no temporary file.
  EXPECT_EQ(listing(path("out")), std::vector<std::string>{"source.jpg"});
}

INSTANTIATE_TEST_SUITE_P(
    Reasons, ToolBadInput,
    ::testing::Values(BadInput{"missing.jpg", "unreadable: No such file or directory"},
                      BadInput{"text.jpg", "not a picture (neither JPEG, PNG nor TIFF)"},
                      BadInput{"truncated.jpg", "damaged JPEG"},
                      BadInput{"small.jpg", "too small (100 x 80; at least 128 x 92 is needed)"},
                      BadInput{"empty.png", "not a picture (empty file)"},
                      BadInput{"device.jpg", "not a regular file (a character device)"}),
    [](const auto& info) {
      std::string n = info.param.name;
      return n.substr(0, n.find('.'));
    });

TEST_F(Tool, UnwritableDestinationFailsCleanly) {
  const std::string in = write_jpeg("in.jpg", 320, 240);
  ToolRun run = run_tool("autosetup " + in + " -o /proc/zkimgset-test.jpg");
  EXPECT_EQ(run.status, 1) << run.output;
  EXPECT_NE(run.output.find("cannot write /proc/zkimgset-test.jpg"), std::string::npos)
      << run.output;
  run = run_tool("autosetup " + in + " --out-dir /proc/zkimgset-test");
  EXPECT_EQ(run.status, 1) << run.output;
  EXPECT_NE(run.output.find("cannot create the folder /proc/zkimgset-test"), std::string::npos)
      << run.output;
  EXPECT_EQ(listing(dir_.string()), std::vector<std::string>{"in.jpg"});
}

TEST_F(Tool, NeverOverwritesItsInputUnlessAsked) {
  const std::string in = write_jpeg("in.jpg", 320, 240);
  const std::string before = slurp(in);
  ToolRun run = run_tool("autosetup " + in + " -o " + in);
  EXPECT_EQ(run.status, 1) << run.output;
  EXPECT_NE(run.output.find("--in-place"), std::string::npos) << run.output;
  EXPECT_EQ(slurp(in), before);
  run = run_tool("autosetup --in-place " + in);
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_NE(slurp(in), before);
  EXPECT_EQ(listing(dir_.string()), std::vector<std::string>{"in.jpg"});
}

// A worker lives on from picture to picture, and pictures that clear stages
// of the analysis (a flat one keeps only 0x40, a busy one loses grouping)
// come first: every later picture must still come out as a fresh process
// writes it, whatever the number of workers.
TEST_F(Tool, LongLivedWorkersWriteWhatFreshProcessesWrite) {
  fs::create_directory(path("in"));
  Picture flat = test_picture(200, 150, Format::Jpeg);
  std::fill(flat.rgb.begin(), flat.rgb.end(), 128);
  spit(path("in/a-flat.jpg"), encode_picture(flat, Format::Jpeg, {90, ""}));
  Picture busy = test_picture(240, 180, Format::Jpeg);
  for (std::size_t i = 0; i < busy.rgb.size(); ++i)
    busy.rgb[i] = static_cast<std::uint8_t>((i * 7919) % 251);
  spit(path("in/b-busy.jpg"), encode_picture(busy, Format::Jpeg, {90, ""}));
  for (int i = 0; i < 4; ++i)
    write_jpeg("in/p" + std::to_string(i) + ".jpg", 300 + 20 * i, 200, 10 * i);
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(path("in"))) names.push_back(e.path().filename());
  std::sort(names.begin(), names.end());

  fs::create_directory(path("fresh"));
  for (const std::string& name : names) {
    const ToolRun run =
        run_tool("autosetup " + path("in/" + name) + " -o " + path("fresh/" + name));
    ASSERT_EQ(run.status, 0) << run.output;
  }
  for (const char* jobs : {"1", "2"}) {
    const std::string out = path(std::string("jobs") + jobs);
    const ToolRun run =
        run_tool("autosetup " + path("in") + " --jobs " + jobs + " --out-dir " + out);
    ASSERT_EQ(run.status, 0) << run.output;
    for (const std::string& name : names)
      EXPECT_TRUE(slurp(out + "/" + name) == slurp(path("fresh/" + name)))
          << name << ", --jobs " << jobs;
  }
}

TEST_F(Tool, ReportShowsEveryPicture) {
  write_jpeg("a.jpg", 320, 240);
  spit(path("b.jpg"), "not a picture");
  const ToolRun run = run_tool("autosetup " + path("a.jpg") + " " + path("b.jpg") + " --out-dir " +
                               path("out") + " --report " + path("report.html"));
  EXPECT_EQ(run.status, 1) << run.output;
  const std::string html = slurp(path("report.html"));
  EXPECT_NE(html.find("a.jpg"), std::string::npos);
  EXPECT_NE(html.find("not a picture"), std::string::npos);
  EXPECT_NE(html.find("data:image/jpeg;base64,"), std::string::npos);
}

struct Usage {
  const char* arguments;
  const char* expected;
};

class ToolUsage : public ::testing::TestWithParam<Usage> {};

TEST_P(ToolUsage, MistakesExitWithTwoAndSayWhy) {
  const ToolRun run = run_tool(GetParam().arguments);
  EXPECT_EQ(run.status, 2) << run.output;
  EXPECT_NE(run.output.find(GetParam().expected), std::string::npos) << run.output;
}

INSTANTIATE_TEST_SUITE_P(
    Mistakes, ToolUsage,
    ::testing::Values(Usage{"", "Usage: zkimgset COMMAND"},
                      Usage{"frobnicate", "unknown command 'frobnicate'"},
                      Usage{"autosetup a.jpg", "say where to write"},
                      Usage{"autosetup a.jpg b.jpg -o c.jpg", "use --out-dir for 2 pictures"},
                      Usage{"autosetup a.jpg -o b.jpg --level 200",
                            "--level: 200 is outside 70..130"},
                      Usage{"autosetup a.jpg -o b.jpg --mode 0xZZ", "not a hexadecimal number"},
                      Usage{"autosetup a.jpg -o b.jpg --bogus", "unknown option --bogus"},
                      Usage{"convert --op den2ta --shift 1,2 a.jpg -o b.jpg", "three numbers"},
                      Usage{"convert --op vorn2ta --shift 1,2,3 a.jpg -o b.jpg", "no --shift"},
                      Usage{"autosetup a.jpg -o b.dat", "cannot tell the output format"},
                      Usage{"autosetup a.jpg -o b.png --format tiff", "does not match"},
                      Usage{"autosetup a.jpg --in-place --format png", "--format does not go"},
                      Usage{"autosetup a.jpg --out-dir d --backup", "go with --in-place"},
                      Usage{"autosetup a.jpg --in-place --no-clobber", "does not go with"},
                      Usage{"autosetup - - -o x.jpg", "read once"},
                      Usage{"autosetup - --out-dir d", "needs -o OUT"}));

TEST(ToolInfo, VersionAndHelpSucceed) {
  for (const char* arguments : {"--version", "--help", "autosetup --help", "analyse --help",
                                "convert --help", "tables --help"}) {
    const ToolRun run = run_tool(arguments);
    EXPECT_EQ(run.status, 0) << arguments << "\n" << run.output;
    EXPECT_FALSE(run.output.empty()) << arguments;
  }
}

}  // namespace
}  // namespace zkcli

namespace zkcli {
namespace {

TEST_F(Tool, TablesNamesTheFirstBadLine) {
  std::string good = "1D\n", bad = "1D\n";
  for (int i = 0; i < 256; ++i) {
    const std::string n = std::to_string(i);
    good += n + "," + n + "," + n + "," + n + "\n";
    bad += i == 3 ? "3,3\n" : n + "," + n + "," + n + "," + n + "\n";
  }
  spit(path("good.dat"), good);
  spit(path("bad.dat"), bad);
  spit(path("short.dat"), good.substr(0, good.size() - 1));
  ToolRun run = run_tool("tables " + path("good.dat"));
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("1-D table, 256 records"), std::string::npos) << run.output;
  run = run_tool("tables " + path("bad.dat") + " " + path("short.dat"));
  EXPECT_EQ(run.status, 1) << run.output;
  EXPECT_NE(run.output.find("line 5: malformed record \"3,3\""), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("no line feed at the end"), std::string::npos) << run.output;
  run = run_tool("tables");
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("ZK3DDATA.DAT: library status 0"), std::string::npos) << run.output;
}

TEST_F(Tool, AnalyseReportsTheRecordAndDumps) {
  const std::string in = write_jpeg("in.jpg", 320, 240);
  ToolRun run = run_tool("analyse --json " + in + " --dump " + path("dump"));
  ASSERT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("\"tone\":[0,"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("\"yy_select\":"), std::string::npos) << run.output;
  EXPECT_EQ(fs::file_size(path("dump/in_ThumbYCC128x92.raw")), 128u * 92 * 3);
  // Several pictures, one JSON line each; standard input is a picture too.
  run = run_tool("analyse --json " + in + " - < " + in);
  ASSERT_EQ(run.status, 0) << run.output;
  EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 2) << run.output;
  EXPECT_NE(run.output.find("{\"file\":\"-\""), std::string::npos) << run.output;
  run = run_tool("convert --op balance --shift 2,0,-2 " + in + " -o " + path("c.jpg"));
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_TRUE(fs::exists(path("c.jpg")));
}

// A JPEG segment: marker, length, body.
std::string jpeg_segment(unsigned marker, const std::string& body) {
  const std::size_t length = body.size() + 2;
  return std::string{'\xFF', static_cast<char>(marker), static_cast<char>(length >> 8),
                     static_cast<char>(length & 0xFF)} +
         body;
}

TEST_F(Tool, OutputFormatFollowsTheNameOrFormat) {
  const std::string in = write_jpeg("in.jpg", 320, 240);
  const struct {
    const char* arguments;
    Format expected;
  } cases[] = {{"-o OUT.png", Format::Png},
               {"-o OUT.TIF", Format::Tiff},
               {"-o OUT.jpeg", Format::Jpeg},
               {"-o OUT.dat --format tiff", Format::Tiff}};
  for (const auto& c : cases) {
    std::string arguments = c.arguments;
    arguments.replace(arguments.find("OUT"), 3, path("out"));
    const std::string out = arguments.substr(3, arguments.find(' ', 3) - 3);
    const ToolRun run = run_tool("autosetup " + in + " " + arguments);
    ASSERT_EQ(run.status, 0) << c.arguments << "\n" << run.output;
    const Picture written = decode_picture(slurp(out), kMaxSide);
    EXPECT_EQ(written.format, c.expected) << c.arguments;
    EXPECT_EQ(written.width, 320) << c.arguments;
  }
}

// Each format's metadata written back byte for byte: JPEG segments in their
// order (and no JFIF header put before Exif), PNG chunks before and after
// the image data, TIFF tags and the Exif directory libtiff cannot write.
TEST_F(Tool, MetadataKeptByteForByte) {
  Picture jpeg = test_picture(320, 240, Format::Jpeg);
  const std::string xmp = "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF/></x:xmpmeta>";
  jpeg.meta.jpeg_segments = {
      exif_segment(), jpeg_segment(0xE1, std::string("http://ns.adobe.com/xap/1.0/\0", 29) + xmp),
      jpeg_segment(0xE2, std::string("ICC_PROFILE\0\x01\x01", 14) + "profile bytes"),
      jpeg_segment(0xED, std::string("Photoshop 3.0\0", 14) + "8BIM\x04\x04 iptc"),
      jpeg_segment(0xFE, "a comment")};
  spit(path("in.jpg"), encode_picture(jpeg, Format::Jpeg, {90, ""}));

  Picture png = test_picture(200, 150, Format::Png);
  png.meta.png_chunks_before = {std::string("tEXtTitle\0Harbour", 17),
                                std::string("eXIf") + exif_segment().substr(10)};
  png.meta.png_chunks_after = {std::string("tIME\x07\xE9\x01\x02\x03\x04\x05", 11),
                               std::string("iTXtXML:com.adobe.xmp\0\0\0\0\0", 26) + xmp};
  spit(path("in.png"), encode_picture(png, Format::Png, {}));

  for (const char* name : {"in.jpg", "in.png"}) {
    const ToolRun run = run_tool("autosetup " + path(name) + " --out-dir " + path("out"));
    ASSERT_EQ(run.status, 0) << run.output;
    const Picture before = decode_picture(slurp(path(name)), kMaxSide);
    const Picture after = decode_picture(slurp(path(std::string("out/") + name)), kMaxSide);
    EXPECT_EQ(after.meta.jpeg_segments, before.meta.jpeg_segments) << name;
    EXPECT_EQ(after.meta.png_chunks_before, before.meta.png_chunks_before) << name;
    EXPECT_EQ(after.meta.png_chunks_after, before.meta.png_chunks_after) << name;
    EXPECT_EQ(after.meta.xmp, xmp) << name;
  }
  EXPECT_EQ(decode_picture(slurp(path("in.jpg")), kMaxSide).meta.jpeg_segments.size(), 5u);
  EXPECT_EQ(slurp(path("out/in.jpg")).substr(2, 2), "\xFF\xE1");

  // A camera TIFF with Exif, IPTC and XMP.
  const std::string tiff = std::string(ZKIMGSET_TEST_DATA_DIR) + "/exif/real/ev_Reagan.tiff";
  const ToolRun run = run_tool("autosetup " + tiff + " -o " + path("out.tif"));
  ASSERT_EQ(run.status, 0) << run.output;
  const Picture before = decode_picture(slurp(tiff), kMaxSide);
  const Picture after = decode_picture(slurp(path("out.tif")), kMaxSide);
  ASSERT_TRUE(before.meta.tiff.exif && after.meta.tiff.exif);
  ASSERT_EQ(after.meta.tiff.exif->entries.size(), before.meta.tiff.exif->entries.size());
  for (std::size_t i = 0; i < before.meta.tiff.exif->entries.size(); ++i)
    EXPECT_EQ(after.meta.tiff.exif->entries[i].value, before.meta.tiff.exif->entries[i].value);
  EXPECT_FALSE(before.meta.tiff.iptc.empty());
  EXPECT_EQ(after.meta.tiff.iptc, before.meta.tiff.iptc);
  EXPECT_EQ(after.meta.xmp, before.meta.xmp);
  EXPECT_EQ(after.meta.tiff.texts, before.meta.tiff.texts);
  EXPECT_EQ(after.meta.tiff.compression, before.meta.tiff.compression);
  EXPECT_EQ(after.meta.tiff.x_resolution, before.meta.tiff.x_resolution);
  // The library still finds the shooting values in the copied directory.
  EXPECT_NE(run_tool("analyse " + path("out.tif")).output.find("NIKON CORPORATION NIKON D1X"),
            std::string::npos);

  // Across formats: Exif from a JPEG into a TIFF's tags and back.
  ASSERT_EQ(run_tool("autosetup " + path("in.jpg") + " -o " + path("x.tif")).status, 0);
  const Picture tiff_out = decode_picture(slurp(path("x.tif")), kMaxSide);
  EXPECT_EQ(tiff_out.meta.tiff.texts,
            (std::vector<std::pair<std::uint32_t, std::string>>{{271, "Test"}}));
  ASSERT_EQ(run_tool("autosetup " + path("x.tif") + " -o " + path("x.jpg")).status, 0);
  EXPECT_NE(decode_picture(slurp(path("x.jpg")), kMaxSide).meta.exif.find("Test"),
            std::string::npos);
}

// TIFF layouts a lab meets, made by ImageMagick: each is read (16 bits
// through 8) and written as 8-bit RGB in the input's compression.
TEST_F(Tool, TiffLayoutsAreReadAndKeepTheirCompression) {
  if (std::system("convert -version >/dev/null 2>&1") != 0) GTEST_SKIP() << "no ImageMagick";
  const std::string source = write_jpeg("source.jpg", 320, 240);
  const struct {
    const char* name;
    const char* options;
    std::uint16_t compression;
  } layouts[] = {{"rgb16-lzw", "-depth 16 -compress lzw", 5},
                 {"grey8-zip", "-colorspace gray -compress zip", 8},
                 {"grey16-none", "-colorspace gray -depth 16 -compress none", 1},
                 {"tiled-lzw", "-define tiff:tile-geometry=64x64 -compress lzw", 5}};
  for (const auto& l : layouts) {
    const std::string in = path(std::string(l.name) + ".tif");
    ASSERT_EQ(std::system(("convert " + source + " " + l.options + " " + in).c_str()), 0);
    const ToolRun run = run_tool("autosetup " + in + " -o " + path("out.tif"));
    ASSERT_EQ(run.status, 0) << l.name << "\n" << run.output;
    const Picture out = decode_picture(slurp(path("out.tif")), kMaxSide);
    EXPECT_EQ(out.width, 320) << l.name;
    EXPECT_EQ(out.meta.tiff.compression, l.compression) << l.name;
  }
}

// libjpeg's warnings that lose no picture data are reported and the picture
// corrected; a truncated file still fails (ToolBadInput).
TEST_F(Tool, HarmlessJpegWarningIsReportedNotFatal) {
  std::string bytes = slurp(write_jpeg("in.jpg", 320, 240));
  const std::size_t dqt = bytes.find("\xFF\xDB");
  ASSERT_NE(dqt, std::string::npos);
  bytes.insert(dqt, std::string("\0\0", 2));
  spit(path("damaged.jpg"), bytes);
  const ToolRun run = run_tool("autosetup " + path("damaged.jpg") + " -o " + path("out.jpg"));
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("2 extraneous bytes before marker 0xdb"), std::string::npos)
      << run.output;
  EXPECT_TRUE(fs::exists(path("out.jpg")));
}

// Standard input and output: only the picture goes to standard output.
TEST_F(Tool, StreamsCarryOnlyThePicture) {
  const std::string in = write_jpeg("in.jpg", 320, 240);
  ToolRun run = run_tool(
      "autosetup - -o - --format png < " + in + " > " + path("out.png") + " 2> " + path("messages"),
      false);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(decode_picture(slurp(path("out.png")), kMaxSide).format, Format::Png);
  EXPECT_NE(slurp(path("messages")).find("Corrected 1 of 1"), std::string::npos);
  run = run_tool("autosetup - -o " + path("from-stdin.jpg") + " < /dev/null");
  EXPECT_EQ(run.status, 1) << run.output;
  EXPECT_NE(run.output.find("standard input is a character device"), std::string::npos)
      << run.output;
}

// Folders: what is not a picture and what lies in sub-folders is counted
// and named; -r takes sub-folders and mirrors them.
TEST_F(Tool, FoldersAccountForEveryFile) {
  fs::create_directories(path("in/sub"));
  write_jpeg("in/a.jpg", 320, 240);
  write_jpeg("in/sub/b.jpg", 320, 240);
  spit(path("in/notes.txt"), "not a picture");
  ToolRun run = run_tool("autosetup " + path("in") + " --out-dir " + path("flat"));
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("2 skipped: 1 in sub-folders, 1 not pictures; use -r"),
            std::string::npos)
      << run.output;
  run = run_tool("autosetup -r " + path("in") + " --out-dir " + path("deep") + " --json");
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_TRUE(fs::exists(path("deep/sub/b.jpg")));
  EXPECT_NE(run.output.find("\"type\":\"run\",\"pictures\":2,\"corrected\":2,\"unchanged\":0,"
                            "\"failed\":0,\"skipped\":1"),
            std::string::npos)
      << run.output;
  // Quiet: nothing when nothing fails.
  run = run_tool("autosetup -q " + path("in/a.jpg") + " -o " + path("q.jpg"));
  EXPECT_EQ(run.output, "");
}

// Re-runs: an in-place run marks what it corrected and skips it next time
// (unless --force); --backup keeps the first original; --no-clobber leaves
// existing outputs alone.
TEST_F(Tool, RunningTwiceDoesNotCorrectTwice) {
  // The mark lives in XMP (JPEG, TIFF) or a text chunk (PNG).
  for (const Format format : {Format::Jpeg, Format::Png, Format::Tiff}) {
    const std::string in = path(std::string("in") + format_extension(format));
    Picture p = test_picture(320, 240, format);
    spit(in, encode_picture(p, format, {90, ""}));
    const std::string original = slurp(in);
    ToolRun run = run_tool("autosetup --in-place --backup " + in);
    ASSERT_EQ(run.status, 0) << run.output;
    const std::string once = slurp(in);
    EXPECT_TRUE(once != original) << in;
    EXPECT_TRUE(slurp(in + "~") == original) << in;
    EXPECT_EQ(correction_mark(decode_picture(once, kMaxSide)), "zkimgset " ZKIMGSET_CLI_VERSION)
        << in;
    run = run_tool("autosetup --in-place --backup " + in);
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_NE(run.output.find("already corrected (marked by zkimgset"), std::string::npos)
        << run.output;
    EXPECT_TRUE(slurp(in) == once) << in;
    run = run_tool("autosetup --in-place --backup --force " + in);
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_NE(run.output.find("Corrected 1 of 1"), std::string::npos) << run.output;
    EXPECT_EQ(correction_mark(decode_picture(slurp(in), kMaxSide)),
              "zkimgset " ZKIMGSET_CLI_VERSION)
        << in;
    EXPECT_TRUE(slurp(in + "~") == original) << in;
  }

  const std::string other = write_jpeg("other.jpg", 320, 240, 5);
  spit(path("taken.jpg"), "keep me");
  const ToolRun run = run_tool("autosetup " + other + " -o " + path("taken.jpg") + " --no-clobber");
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("1 skipped: 1 outputs exist (--no-clobber)"), std::string::npos)
      << run.output;
  EXPECT_EQ(slurp(path("taken.jpg")), "keep me");
}

}  // namespace
}  // namespace zkcli
