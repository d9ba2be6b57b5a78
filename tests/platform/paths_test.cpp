// The platform's folders and its file name pattern. The library folder is
// the exports test's: a fresh copy of the library finds the tables beside it.
#include "platform/paths.h"

#include <gtest/gtest.h>

#include "platform/directory_search.h"

namespace zkimgset::platform {
namespace {

TEST(MatchesPattern, PrefixAnythingSuffixIgnoringCase) {
  const std::pair<const char*, bool> cases[] = {
      {"ZK3D.DAT", true},          {"Zk3D-v2.Dat", true},    {"ZK3.DAT", false},
      {"ZK3DDATA.DAT.bak", false}, {"XZK3DDATA.DAT", false}, {"ZK3DAT", false}};
  for (const auto& [name, expected] : cases)
    EXPECT_EQ(matches_pattern(name, "ZK3D", ".DAT"), expected) << name;
  EXPECT_EQ(find_first_match("/no/such/folder/", "ZK3D", ".DAT"), std::nullopt);
}

TEST(ParameterFolder, JoinsTheLibraryFolderAndParamWithTheSeparator) {
#if defined(_WIN32)
  const char* folder = "D:\\App\\";
  const char* expected = "D:\\App\\\\Param";  // two backslashes, as the service expects
#else
  const char* folder = "/opt/app/";
  const char* expected = "/opt/app//Param";
#endif
  override_library_folder(folder);
  EXPECT_EQ(parameter_folder(), expected);
  override_library_folder(std::nullopt);
}

}  // namespace
}  // namespace zkimgset::platform
