// The set-up driver against a test double of the Exif-tag service, and the
// small-picture driver: the analysis on a reduced copy, the correction on the
// picture itself.
#include "setup/driver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "colour/table_limits.h"
#include "platform/dynamic_library.h"
#include "platform/paths.h"
#include "setup/small_image_driver.h"
#include "support/fake_service.h"
#include "support/loaded_library.h"
#include "support/pictures.h"

namespace zkimgset::setup {
namespace {

using testing::FakeServiceLog;
using testing::FakeServiceTag;

// The double installed as the service, and held open so that its log
// outlives each driver call.
class Driver : public ::testing::Test {
 protected:
  Driver()
      : service_(platform::open_library(ZKIMGSET_TEST_FAKE_SERVICE)), main_(colour::kTable3dBytes) {
    platform::override_service_library(ZKIMGSET_TEST_FAKE_SERVICE);
    *log() = FakeServiceLog{};
    library_.ColorTable3dMain = main_.data();
  }
  ~Driver() override {
    platform::override_service_library(std::nullopt);
    platform::close_library(service_);
  }
  FakeServiceLog* log() const {
    return reinterpret_cast<FakeServiceLog* (*)()>(
        platform::find_function(service_, "fake_service_log"))();
  }
  int run(std::vector<std::uint8_t>& pixels, int w, int h, unsigned layout = 0, int bits = 24) {
    return run_driver(library_, analysis_, {pixels.data(), w, h, 0, bits, layout});
  }
  void* service_;
  std::vector<std::uint8_t> main_;
  LibraryState library_;
  autosetup::AnalysisState analysis_;
};

TEST_F(Driver, ChecksArgumentsSizeAndAspect) {
  std::vector<std::uint8_t> pixels(3 * 6144 * 308, 100);
  const struct {
    int w, h;
    unsigned layout;
    int bits, status;
  } cases[] = {{16, 16, 0, 24, 0},
               {15, 16, 0, 24, ZKIMGSET_BAD_SIZE},
               {6144, 308, 0, 24, 0},
               {6144, 300, 0, 24, ZKIMGSET_BAD_ASPECT},
               {6145, 400, 0, 24, ZKIMGSET_BAD_SIZE},
               {64, 64, 2, 24, ZKIMGSET_BAD_ARGUMENT},
               {64, 64, 0, 16, ZKIMGSET_BAD_ARGUMENT}};
  for (const auto& c : cases) EXPECT_EQ(run(pixels, c.w, c.h, c.layout, c.bits), c.status) << c.w;
  EXPECT_EQ(run_driver(library_, analysis_, {nullptr, 64, 64, 0, 24, 0}), ZKIMGSET_BAD_ARGUMENT);
  library_.ColorTable3dMain = nullptr;  // start-up could not allocate it
  EXPECT_EQ(run(pixels, 64, 64), ZKIMGSET_OUT_OF_MEMORY);
}

// A missing or incomplete service, or one that fails, refuses or gives no
// picture: each has its status, leaves the picture alone and is released.
TEST_F(Driver, ServiceFailuresHaveTheirCodesAndChangeNothing) {
  const std::vector<std::uint8_t> grey(3 * 40 * 30, 77);
  for (const char* path : {"/no/such/libostrel.so", ZKIMGSET_TEST_FAKE_SERVICE_INCOMPLETE}) {
    platform::override_service_library(path);
    std::vector<std::uint8_t> pixels = grey;
    EXPECT_EQ(run(pixels, 40, 30), ZKIMGSET_SERVICE_MISSING) << path;
    EXPECT_EQ(pixels, grey);
    EXPECT_FALSE(library_.service.bound());
    EXPECT_FALSE(testing::library_loaded(path)) << "nothing is left loaded";
  }
  platform::override_service_library(ZKIMGSET_TEST_FAKE_SERVICE);
  library_.setup_mode = 0x1F;
  const struct {
    int result;
    bool image;
    int status;
  } cases[] = {{1, true, 23}, {2, true, 24}, {0, false, 25}};
  for (const auto& c : cases) {
    log()->setup_result = c.result;
    log()->has_image = c.image;
    std::vector<std::uint8_t> pixels = grey;
    EXPECT_EQ(run(pixels, 40, 30), c.status);
    EXPECT_EQ(pixels, grey);
    EXPECT_FALSE(library_.service.bound());
  }
}

TEST_F(Driver, TagSetFollowsTheShootingValuesInOrder) {
  std::strcpy(library_.MakerText1, "Maker");
  std::strcpy(library_.MakerText2, "Model X");
  library_.shooting.param.Flash = 1;
  library_.shooting.param.BrightnessValue_num = 5;
  library_.shooting.param.BrightnessValue_den = 2;
  library_.shooting.ISOSpeedRatings = 100;
  library_.shooting.ExposureTime[0] = 1;
  library_.shooting.ExposureTime[1] = 250;
  std::vector<std::uint8_t> pixels(3 * 40 * 30, 77);
  ASSERT_EQ(run(pixels, 40, 30), 0);
  auto word = [](std::uint32_t a, std::uint32_t b) {
    std::string s(8, '\0');
    std::memcpy(s.data(), &a, 4);
    std::memcpy(s.data() + 4, &b, 4);
    return s;
  };
  const std::vector<FakeServiceTag> expected = {
      {0, 0x010F, 2, 6, std::string("Maker\0", 6)},
      {0, 0x010F, 2, 8, std::string("Model X\0", 8)},  // the Model goes under the Make tag
      {1, 0x9209, 3, 1, std::string("\1\0", 2)},
      {1, 0x9203, 10, 1, word(5, 2)},
      {1, 0x8827, 3, 1, std::string("\x64\0", 2)},
      {1, 0x829A, 5, 1, word(1, 250)},
      {1, 0xA406, 3, 1, std::string("\0\0", 2)},
      {1, 0xA401, 3, 1, std::string("\0\0", 2)}};
  EXPECT_EQ(log()->tags, expected);
  EXPECT_EQ(log()->setup_calls, 0) << "setup_mode 0: the automatic set-up does not run";
}

// Packed rows take width x height bytes of the service's (inverted) result;
// a rendered picture takes a third of it, bit 5 half. Each call binds the
// service and releases it.
TEST_F(Driver, MergeTakesTheServicesResultByTheRules) {
  const struct {
    std::uint16_t setup_mode, custom_rendered;
    int expected;
  } cases[] = {{0x1F, 0, 155}, {0x1F, 1, (155 + 2 * 100) / 3}, {0x3F, 0, (100 + 155) / 2}};
  for (const auto& c : cases) {
    library_.setup_mode = c.setup_mode;
    library_.shooting.param.CustomRendered = c.custom_rendered;
    std::vector<std::uint8_t> pixels(3 * 20 * 20, 100);
    ASSERT_EQ(run(pixels, 20, 20), 0);
    EXPECT_FALSE(library_.service.bound());
    for (int i = 0; i < 1200; i += 7)
      EXPECT_NEAR(pixels[std::size_t(i)], i < 400 ? c.expected : 100, 4) << i;
  }
  const FakeServiceLog& got = *log();
  EXPECT_EQ(got.setup_calls, 3);
  EXPECT_EQ(got.width, 20);
  EXPECT_EQ(got.kind, 1);
  EXPECT_EQ(got.profile, "sRGB10_8.prf");
  EXPECT_EQ(got.folder, platform::parameter_folder());
}

TEST_F(Driver, WhiteBorderIsCutAndAWhitePictureGoesWhole) {
  library_.setup_mode = 0x1F;
  std::vector<std::uint8_t> white(92 * 20, 255);  // 30 pixels: 90 bytes a row, padded to 92
  ASSERT_EQ(run(white, 30, 20, 1), 0);
  EXPECT_EQ(log()->width, 30);
  EXPECT_EQ(log()->height, 20);
  EXPECT_EQ(log()->kind, 3) << "the bitmap form";

  std::vector<std::uint8_t> framed(3 * 30 * 20, 255);
  for (int y = 5; y < 15; ++y)
    for (int x = 4; x < 10; ++x) framed[3 * std::size_t(y * 30 + x)] = 100;
  ASSERT_EQ(run(framed, 30, 20), 0);
  EXPECT_EQ(log()->width, 6);
  EXPECT_EQ(log()->height, 10);
  EXPECT_EQ(framed[0], 255) << "the border is untouched";
  EXPECT_NEAR(framed[3 * (5 * 30 + 4)], 155, 4) << "the content took the service's result";
}

// ---- The small-picture driver -----------------------------------------------

testing::TestPicture dark_photo(int w, int h) {
  return testing::TestPicture(w, h, [](int x, int y, std::uint8_t* p) {
    for (int c = 0; c < 3; ++c)
      p[c] = static_cast<std::uint8_t>(
          10 + 40 * (0.5 + 0.5 * std::sin(x / 11.0 + c) * std::cos(y / 13.0)) +
          (x * 5 + y * 3 + c * 7) % 23);
  });
}

double mean(const std::vector<std::uint8_t>& v) {
  double sum = 0;
  for (std::uint8_t b : v) sum += b;
  return sum / double(v.size());
}

class SmallImageDriver : public Driver {
 protected:
  SmallImageDriver() { library_.shooting.param.Flash = 0; }  // the synthetic histograms are narrow
  int run(std::vector<std::uint8_t>& pixels, int w, int h, unsigned layout = 0) {
    return run_small_image_driver(library_, analysis_, {pixels.data(), w, h, 0, 24, layout});
  }
};

// setup_mode 0x1D: the analysis without the service's mode 31, whose blend
// would give a picture of this narrow range a plain level stretch.
constexpr std::uint16_t kAnalysis = 0x1D;

// 200 x 150 is reduced to 132 x 99 by linear interpolation (stronger
// reductions take the tabled filter, whose two-tap outputs are black); 800 x
// 600 is analysed whole. Either way the dark picture is lightened.
TEST_F(SmallImageDriver, AnalysesSmallPicturesOnAReducedCopy) {
  for (const auto& [w, h, small] : {std::tuple{200, 150, true}, std::tuple{800, 600, false}}) {
    const testing::TestPicture p = dark_photo(w, h);
    std::vector<std::uint8_t> pixels = p.rgb;
    library_.setup_mode = kAnalysis;
    ASSERT_EQ(run(pixels, w, h), 0);
    EXPECT_EQ((library_.setup_mode & ZKIMGSET_SETUP_SMALL_IMAGE) != 0, small) << w;
    EXPECT_GT(mean(pixels), mean(p.rgb) + 5) << w;
  }
}

TEST_F(SmallImageDriver, RefusesBadArgumentsAndAFailedStartUp) {
  std::vector<std::uint8_t> pixels(3 * 200 * 200, 90);
  EXPECT_EQ(run_small_image_driver(library_, analysis_, {pixels.data(), 200, 200, 0, 16, 0}), 2);
  EXPECT_EQ(run(pixels, 200, 200, 2), 2);
  library_.StartupStatus = ZKIMGSET_OUT_OF_MEMORY;
  EXPECT_EQ(run(pixels, 200, 200), 3);
}

}  // namespace
}  // namespace zkimgset::setup
