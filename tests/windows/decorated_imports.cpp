// The nine C++ exports for test programs built with mingw-w64: the DLL
// exports them under the names the platform's native compiler gives them,
// which this compiler does not produce, so each is found by that name, as a
// host's linker would, and called through it.
#include <windows.h>

#include "zkimgset/zkimgset.h"

namespace {

#if defined(_WIN64)
#define DECORATED(x86, x64) x64
#else
#define DECORATED(x86, x64) x86
#endif

template <class Function>
Function* import(const char* name) {
  HMODULE dll = GetModuleHandleA("ZKImgSet.dll");
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(dll, name)));
}

}  // namespace

unsigned long Classify_String(char** cursor, char* field) {
  static auto* f = import <unsigned long(char**, char*)>(
      DECORATED("?Classify_String@@YAKPAPADPAD@Z", "?Classify_String@@YAKPEAPEADPEAD@Z"));
  return f(cursor, field);
}

void DumpAutoSetupParam(const char* folder, const char* base_name, tagRECT* rect,
                        _ThumbnailData* thumbnail) {
  static auto* f = import <void(const char*, const char*, tagRECT*, _ThumbnailData*)>(
      DECORATED("?DumpAutoSetupParam@@YAXPBD0PAUtagRECT@@PAU_ThumbnailData@@@Z",
                "?DumpAutoSetupParam@@YAXPEBD0PEAUtagRECT@@PEAU_ThumbnailData@@@Z"));
  f(folder, base_name, rect, thumbnail);
}

unsigned long Get_Next_Record(char** cursor, unsigned long* left, char* record) {
  static auto* f = import <unsigned long(char**, unsigned long*, char*)>(
      DECORATED("?Get_Next_Record@@YAKPAPADPAKPAD@Z", "?Get_Next_Record@@YAKPEAPEADPEAKPEAD@Z"));
  return f(cursor, left, record);
}

int ImageDataConvertEx(void* data, int width, int height, int mode, void* record, tagRECT* area,
                       tagRECT* bounds) {
  static auto* f = import <int(void*, int, int, int, void*, tagRECT*, tagRECT*)>(
      DECORATED("?ImageDataConvertEx@@YAHPAXHHH0PAUtagRECT@@1@Z",
                "?ImageDataConvertEx@@YAHPEAXHHH0PEAUtagRECT@@1@Z"));
  return f(data, width, height, mode, record, area, bounds);
}

int Load3dpFile(const char* name) {
  static auto* f =
      import <int(const char*)>(DECORATED("?Load3dpFile@@YAHPBD@Z", "?Load3dpFile@@YAHPEBD@Z"));
  return f(name);
}

int Load_1D_LUT(char* record, unsigned char* red, unsigned char* green, unsigned char* blue) {
  static auto* f = import <int(char*, unsigned char*, unsigned char*, unsigned char*)>(
      DECORATED("?Load_1D_LUT@@YAHPADPAE11@Z", "?Load_1D_LUT@@YAHPEADPEAE11@Z"));
  return f(record, red, green, blue);
}

int Load_3D_LUT(char* record, unsigned char* red, unsigned char* green, unsigned char* blue) {
  static auto* f = import <int(char*, unsigned char*, unsigned char*, unsigned char*)>(
      DECORATED("?Load_3D_LUT@@YAHPADPAE11@Z", "?Load_3D_LUT@@YAHPEADPEAE11@Z"));
  return f(record, red, green, blue);
}

int Set1dFile(const char* name) {
  static auto* f =
      import <int(const char*)>(DECORATED("?Set1dFile@@YAHPBD@Z", "?Set1dFile@@YAHPEBD@Z"));
  return f(name);
}

int Set3dFile_old(const char* name) {
  static auto* f =
      import <int(const char*)>(DECORATED("?Set3dFile_old@@YAHPBD@Z", "?Set3dFile_old@@YAHPEBD@Z"));
  return f(name);
}
