// The C++ exports the library tests call, for mingw-w64 builds: the DLL
// exports them under the native compiler's decorated names, which this
// compiler does not produce, so each is found and called by that name.
#include <windows.h>

#include "support/decorated_names.h"
#include "zkimgset/zkimgset.h"

namespace {

template <class Function>
Function* exported(const char* name) {
  HMODULE dll = GetModuleHandleA("ZKImgSet.dll");
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(dll, name)));
}

}  // namespace

unsigned long Classify_String(char** cursor, char* field) {
  static auto* f = exported<unsigned long(char**, char*)>(ZKIMGSET_NAME_CLASSIFY_STRING);
  return f(cursor, field);
}

void DumpAutoSetupParam(const char* folder, const char* base_name, tagRECT* rect,
                        _ThumbnailData* thumbnail) {
  static auto* f = exported<void(const char*, const char*, tagRECT*, _ThumbnailData*)>(
      ZKIMGSET_NAME_DUMP_AUTO_SETUP_PARAM);
  f(folder, base_name, rect, thumbnail);
}

unsigned long Get_Next_Record(char** cursor, unsigned long* left, char* record) {
  static auto* f =
      exported<unsigned long(char**, unsigned long*, char*)>(ZKIMGSET_NAME_GET_NEXT_RECORD);
  return f(cursor, left, record);
}

int Load3dpFile(const char* name) {
  static auto* f = exported<int(const char*)>(ZKIMGSET_NAME_LOAD_3DP_FILE);
  return f(name);
}

int Load_1D_LUT(char* record, unsigned char* red, unsigned char* green, unsigned char* blue) {
  static auto* f = exported<int(char*, unsigned char*, unsigned char*, unsigned char*)>(
      ZKIMGSET_NAME_LOAD_1D_LUT);
  return f(record, red, green, blue);
}

int Load_3D_LUT(char* record, unsigned char* red, unsigned char* green, unsigned char* blue) {
  static auto* f = exported<int(char*, unsigned char*, unsigned char*, unsigned char*)>(
      ZKIMGSET_NAME_LOAD_3D_LUT);
  return f(record, red, green, blue);
}

int Set1dFile(const char* name) {
  static auto* f = exported<int(const char*)>(ZKIMGSET_NAME_SET_1D_FILE);
  return f(name);
}

int Set3dFile_old(const char* name) {
  static auto* f = exported<int(const char*)>(ZKIMGSET_NAME_SET_3D_FILE_OLD);
  return f(name);
}
