// The platform's folders and its file name pattern.
#include "platform/paths.h"

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>

#include <climits>
#endif

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

#if defined(_WIN32)
TEST(LibraryFolder, IsTheModulePathWithTheLengthOfTheLibraryNameCut) {
  // Linked statically into this test, "ZKImgSet.DLL" is not loaded, so the
  // module is the test executable; the cut is by length all the same.
  char exe[520] = {};
  const DWORD length = GetModuleFileNameA(nullptr, exe, sizeof exe);
  ASSERT_GT(length, 12u);
  EXPECT_EQ(library_folder(), std::string(exe, length - 12));
}

TEST(SystemDirectory, IsTheWindowsSystemFolder) {
  char folder[256] = {};
  ASSERT_GT(GetSystemDirectoryA(folder, sizeof folder), 0u);
  EXPECT_EQ(system_directory(), folder);
}
#else
TEST(LibraryFolder, IsTheResolvedFolderOfTheModuleWithATrailingSeparator) {
  // Linked statically into this test, the module is the test executable.
  char exe[PATH_MAX] = {};
  ASSERT_GT(readlink("/proc/self/exe", exe, sizeof exe - 1), 0);
  std::string expected = exe;
  expected.erase(expected.rfind('/') + 1);
  EXPECT_EQ(library_folder(), expected);
}
#endif

}  // namespace
}  // namespace zkimgset::platform
