// Binding the Exif-tag service: all nine functions or nothing at all.
#include "frame/service_binding.h"

#include <gtest/gtest.h>

#include <optional>

#include "platform/dynamic_library.h"
#include "support/loaded_library.h"
#include "zkimgset/zkimgset.h"

namespace zkimgset {
namespace {

class ServiceLibrary {
 public:
  explicit ServiceLibrary(const char* path) { platform::override_service_library(path); }
  ~ServiceLibrary() { platform::override_service_library(std::nullopt); }
  ServiceLibrary(const ServiceLibrary&) = delete;
  ServiceLibrary& operator=(const ServiceLibrary&) = delete;
};

using testing::library_loaded;

TEST(ServiceBinding, BindsAllNineAndReleasesThem) {
  const ServiceLibrary library(ZKIMGSET_TEST_FAKE_SERVICE);
  ServiceBinding binding;
  ASSERT_EQ(bind_service(binding), 0);
  EXPECT_TRUE(binding.bound());
  EXPECT_NE(binding.delete_handle, nullptr);
  EXPECT_NE(binding.bitmap_auto_setup, nullptr);
  void* module = binding.module;
  EXPECT_EQ(bind_service(binding), 0) << "a second bind reuses the module";
  EXPECT_EQ(binding.module, module);
  EXPECT_EQ(unbind_service(binding), 0);
  EXPECT_FALSE(binding.bound());
  EXPECT_EQ(binding.create_exif_tag, nullptr);
  EXPECT_FALSE(library_loaded(ZKIMGSET_TEST_FAKE_SERVICE));
  EXPECT_EQ(unbind_service(binding), 0) << "unbinding twice is harmless";
}

// A library without one of the nine, or none at all, binds nothing and is
// not left loaded.
TEST(ServiceBinding, MissingFunctionOrLibraryBindsNothing) {
  for (const char* path : {ZKIMGSET_TEST_FAKE_SERVICE_INCOMPLETE, "/no/such/libostrel.so"}) {
    const ServiceLibrary library(path);
    ServiceBinding binding;
    EXPECT_EQ(bind_service(binding), ZKIMGSET_SERVICE_MISSING) << path;
    EXPECT_FALSE(binding.bound());
    EXPECT_EQ(binding.create_exif_tag, nullptr);
    EXPECT_FALSE(library_loaded(path));
  }
}

}  // namespace
}  // namespace zkimgset
