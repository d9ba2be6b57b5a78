// The platform's folders and its file name pattern.
#include "platform/paths.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>

#include "platform/directory_search.h"

namespace zkimgset::platform {
namespace {

TEST(MatchesPattern, PrefixAnythingSuffixIgnoringCase) {
  const std::pair<const char*, bool> cases[] = {{"ZK3D.DAT", true},
                                                {"ZK3DDATA.DAT", true},
                                                {"zk3dlab.dat", true},
                                                {"Zk3D-v2.Dat", true},
                                                {"ZK3.DAT", false},
                                                {"ZK3DDATA.DAT.bak", false},
                                                {"XZK3DDATA.DAT", false},
                                                {"ZK3DAT", false},
                                                {"ZK3D", false},
                                                {".DAT", false},
                                                {"", false},
                                                {"ZK1DDATA.DAT", false}};
  for (const auto& [name, expected] : cases)
    EXPECT_EQ(matches_pattern(name, "ZK3D", ".DAT"), expected) << name;
}

TEST(FindFirstMatch, UnreadableFolderFindsNothing) {
  EXPECT_EQ(find_first_match("/no/such/folder/", "ZK3D", ".DAT"), std::nullopt);
}

TEST(LibraryFolder, IsTheResolvedFolderOfTheModuleWithATrailingSeparator) {
  // Linked statically into this test, the module is the test executable.
  char exe[PATH_MAX] = {};
  ASSERT_GT(readlink("/proc/self/exe", exe, sizeof exe - 1), 0);
  std::string expected = exe;
  expected.erase(expected.rfind('/') + 1);
  EXPECT_EQ(library_folder(), expected);
}

}  // namespace
}  // namespace zkimgset::platform
