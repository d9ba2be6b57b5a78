// The set-up driver against a test double of the Exif-tag service.
#include "setup/driver.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "colour/table_limits.h"
#include "platform/dynamic_library.h"
#include "platform/paths.h"
#include "support/fake_service.h"

namespace zkimgset::setup {
namespace {

using testing::FakeServiceLog;
using testing::FakeServiceTag;

// The double installed as the service, and held open so that its log
// outlives each driver call.
class FakeService {
 public:
  FakeService() : handle_(platform::open_library(ZKIMGSET_TEST_FAKE_SERVICE)) {
    platform::override_service_library(ZKIMGSET_TEST_FAKE_SERVICE);
    *log() = FakeServiceLog{};
  }
  ~FakeService() {
    platform::override_service_library(std::nullopt);
    platform::close_library(handle_);
  }
  FakeService(const FakeService&) = delete;
  FakeService& operator=(const FakeService&) = delete;
  FakeServiceLog* log() const {
    return reinterpret_cast<FakeServiceLog* (*)()>(
        platform::find_function(handle_, "fake_service_log"))();
  }

 private:
  void* handle_;
};

class Driver : public ::testing::Test {
 protected:
  Driver() : main_(colour::kTable3dBytes) { library_.ColorTable3dMain = main_.data(); }
  int run(std::vector<std::uint8_t>& pixels, int w, int h, unsigned layout = 0, int bits = 24) {
    return run_driver(library_, analysis_, {pixels.data(), w, h, 0, bits, layout});
  }
  std::vector<std::uint8_t> main_;
  LibraryState library_;
  autosetup::AnalysisState analysis_;
};

TEST_F(Driver, ChecksArgumentsSizeAndAspect) {
  const FakeService service;
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
  }
  const FakeService service;
  library_.setup_mode = 0x1F;
  const struct {
    int result;
    bool image;
    int status;
  } cases[] = {{1, true, 23}, {2, true, 24}, {0, false, 25}};
  for (const auto& c : cases) {
    service.log()->setup_result = c.result;
    service.log()->has_image = c.image;
    std::vector<std::uint8_t> pixels = grey;
    EXPECT_EQ(run(pixels, 40, 30), c.status);
    EXPECT_EQ(pixels, grey);
    EXPECT_FALSE(library_.service.bound());
  }
}

TEST_F(Driver, TagSetFollowsTheShootingValuesInOrder) {
  const FakeService service;
  std::strcpy(library_.MakerText1, "Maker");
  std::strcpy(library_.MakerText2, "Model X");
  library_.shooting.param.Flash = 1;
  library_.shooting.param.BrightnessValue_num = 5;
  library_.shooting.param.BrightnessValue_den = 2;
  library_.shooting.ISOSpeedRatings = 100;
  library_.shooting.ExposureTime[0] = 1;
  library_.shooting.ExposureTime[1] = 250;
  library_.shooting.param.CustomRendered = 0;
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
  EXPECT_EQ(service.log()->tags, expected);
  EXPECT_EQ(service.log()->setup_calls, 0) << "setup_mode 0: the automatic set-up does not run";
}

// Packed rows take width x height bytes of the service's (inverted) result;
// a rendered picture takes a third of it, bit 5 half. Each call binds the
// service and releases it.
TEST_F(Driver, MergeTakesTheServicesResultByTheRules) {
  const FakeService service;
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
  const FakeServiceLog& log = *service.log();
  EXPECT_EQ(log.setup_calls, 3);
  EXPECT_EQ(log.width, 20);
  EXPECT_EQ(log.kind, 1);
  EXPECT_EQ(log.profile, "sRGB10_8.prf");
  EXPECT_EQ(log.folder, platform::parameter_folder());
}

TEST_F(Driver, WhiteBorderIsCutAndAWhitePictureGoesWhole) {
  const FakeService service;
  library_.setup_mode = 0x1F;
  std::vector<std::uint8_t> white(92 * 20, 255);  // 30 pixels: 90 bytes a row, padded to 92
  ASSERT_EQ(run(white, 30, 20, 1), 0);
  EXPECT_EQ(service.log()->width, 30);
  EXPECT_EQ(service.log()->height, 20);
  EXPECT_EQ(service.log()->kind, 3) << "the bitmap form";

  std::vector<std::uint8_t> framed(3 * 30 * 20, 255);
  for (int y = 5; y < 15; ++y)
    for (int x = 4; x < 10; ++x) framed[3 * std::size_t(y * 30 + x)] = 100;
  ASSERT_EQ(run(framed, 30, 20), 0);
  EXPECT_EQ(service.log()->width, 6);
  EXPECT_EQ(service.log()->height, 10);
  EXPECT_EQ(framed[0], 255) << "the border is untouched";
  EXPECT_NEAR(framed[3 * (5 * 30 + 4)], 155, 4) << "the content took the service's result";
}

}  // namespace
}  // namespace zkimgset::setup
