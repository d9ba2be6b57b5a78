/* A host as the printing applications are: it loads the library by name at
   run time, finds all 37 exports (the nine C++ ones by their decorated
   names) and runs the start-up calls and both set-ups on a generated picture.
     host OUT_DIR [LIBRARY]
   writes transcript.txt, record.bin, convert.rgb and autosetup.rgb into
   OUT_DIR, which the Linux and the Windows build must write alike. */
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* On Windows the system's headers come first: the library's header then
   takes RECT's tagRECT from them. */
#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <zkimgset/zkimgset.h>

#include "support/decorated_names.h"

/* Any export, before it is cast to its own type. */
typedef void (*AnyFunction)(void);

#if defined(_WIN32)
typedef HMODULE Library;
static Library open_library(const char* name) { return LoadLibraryA(name); }
static AnyFunction find(Library library, const char* name) {
  return (AnyFunction)GetProcAddress(library, name);
}
static void close_library(Library library) { FreeLibrary(library); }
#define DEFAULT_LIBRARY "ZKImgSet.dll"
#else
typedef void* Library;
static Library open_library(const char* name) { return dlopen(name, RTLD_NOW | RTLD_LOCAL); }
static AnyFunction find(Library library, const char* name) {
  void* symbol = dlsym(library, name);
  AnyFunction function;
  memcpy(&function, &symbol, sizeof function); /* how POSIX hands out functions */
  return function;
}
static void close_library(Library library) { dlclose(library); }
#define DEFAULT_LIBRARY "libzkimgset.so"
#endif

static const char* const kExports[] = {ZKIMGSET_NAME_CLASSIFY_STRING,
                                       ZKIMGSET_NAME_DUMP_AUTO_SETUP_PARAM,
                                       ZKIMGSET_NAME_GET_NEXT_RECORD,
                                       ZKIMGSET_NAME_IMAGE_DATA_CONVERT_EX,
                                       ZKIMGSET_NAME_LOAD_3DP_FILE,
                                       ZKIMGSET_NAME_LOAD_1D_LUT,
                                       ZKIMGSET_NAME_LOAD_3D_LUT,
                                       ZKIMGSET_NAME_SET_1D_FILE,
                                       ZKIMGSET_NAME_SET_3D_FILE_OLD,
                                       "AutoSetupExecEx",
                                       "GetAtParamEx",
                                       "Set3dFile",
                                       "SetColorConvMode",
                                       "ImageSetupExecEx",
                                       "BgrRgbConversion",
                                       "ColorBalanceAdj",
                                       "ColorBalanceAdj_BGR",
                                       "Den2Vorn",
                                       "Den2VornEx",
                                       "Den2Vorn_BGR",
                                       "Den2Vorn_BGREx",
                                       "Den2TA",
                                       "Den2TAEx",
                                       "Den2TA_BGR",
                                       "Den2TA_BGREx",
                                       "GetAtParam",
                                       "GetAtParamFromDIBits",
                                       "GetAtParamFromDIBitsEx",
                                       "GetExifParam",
                                       "GetExifParamEx",
                                       "ImageDataConvert",
                                       "Vorn2TA",
                                       "Vorn2TA_BGR",
                                       "ResizeExec",
                                       "RgbBgrConversion",
                                       "SetExifParam",
                                       "SetExifParamEx"};

typedef int(ZKIMGSET_CALL* ImageDataConvertExFn)(void*, int, int, int, void*, tagRECT*, tagRECT*);
typedef int(ZKIMGSET_CALL* NameFn)(const char*);
typedef int(ZKIMGSET_CALL* AutoSetupExecExFn)(void*, int, int, int, int, unsigned int,
                                              unsigned short, int, int);
typedef int(ZKIMGSET_CALL* GetAtParamExFn)(const void*, int, int, AutoSetupParam*, unsigned short,
                                           int, int);
typedef int(ZKIMGSET_CALL* SetColorConvModeFn)(unsigned short);
typedef int(ZKIMGSET_CALL* ImageSetupExecExFn)(void*, int, int, int, int, unsigned int, int, int,
                                               int, int, int, int, int, int, int);

enum { WIDTH = 320, HEIGHT = 240, PIXEL_BYTES = 3 * WIDTH * HEIGHT };

static FILE* transcript;
static int failures;
static Library loaded;

static AnyFunction get(const char* name) { return find(loaded, name); }

/* One line of the transcript; a failed check counts. */
static void report(int ok, const char* format, ...) {
  va_list args;
  va_start(args, format);
  vfprintf(transcript, format, args);
  va_end(args);
  fputs(ok ? "\n" : "  <-- unexpected\n", transcript);
  if (!ok) ++failures;
}

static void write_file(const char* folder, const char* name, const void* bytes, size_t size) {
  char path[1024];
  FILE* file;
  snprintf(path, sizeof path, "%s/%s", folder, name);
  file = fopen(path, "wb");
  report(file != NULL && fwrite(bytes, 1, size, file) == size, "%s written", name);
  if (file != NULL) fclose(file);
}

/* A picture with white margins, a warm cast and detail in every region. */
static void make_picture(unsigned char* pixels) {
  int x, y;
  for (y = 0; y < HEIGHT; ++y) {
    for (x = 0; x < WIDTH; ++x) {
      unsigned char* p = pixels + 3 * (y * WIDTH + x);
      if (x < 8 || y < 6 || x >= WIDTH - 8 || y >= HEIGHT - 6) {
        p[0] = p[1] = p[2] = 255;
        continue;
      }
      p[0] = (unsigned char)(60 + (x * 150) / WIDTH + ((x ^ y) & 15));
      p[1] = (unsigned char)(40 + (y * 140) / HEIGHT + ((x * y) & 7));
      p[2] = (unsigned char)(30 + ((x + y) * 90) / (WIDTH + HEIGHT));
    }
  }
}

int main(int argc, char** argv) {
  const char* folder = argc > 1 ? argv[1] : ".";
  const char* name = argc > 2 ? argv[2] : DEFAULT_LIBRARY;
  const int count = (int)(sizeof kExports / sizeof kExports[0]);
  unsigned char* picture = malloc(PIXEL_BYTES);
  unsigned char* pixels = malloc(PIXEL_BYTES);
  AutoSetupParam record;
  int i, missing = 0, status;

  char path[1024];
  snprintf(path, sizeof path, "%s/transcript.txt", folder);
  transcript = fopen(path, "wb");
  if (transcript == NULL || picture == NULL || pixels == NULL) {
    fprintf(stderr, "host: cannot write into %s\n", folder);
    return 2;
  }

  loaded = open_library(name);
  if (loaded == NULL) {
    fprintf(stderr, "host: cannot load %s\n", name);
    return 1;
  }
  for (i = 0; i < count; ++i) {
    if (get(kExports[i]) == NULL) {
      fprintf(stderr, "host: missing export %s\n", kExports[i]);
      ++missing;
    }
  }
  report(missing == 0 && count == 37, "exports found: %d of %d", count - missing, count);
  if (missing != 0) return 1;

  /* Start-up: the tables beside the library load, the binary table does not exist. */
  status = ((NameFn)get("Set3dFile"))(NULL);
  report(status == 0, "Set3dFile(NULL) = %d", status);
  status = ((NameFn)get(ZKIMGSET_NAME_SET_1D_FILE))("ZK1DDATA.DAT");
  report(status == 0, "Set1dFile(\"ZK1DDATA.DAT\") = %d", status);
  status = ((NameFn)get(ZKIMGSET_NAME_SET_3D_FILE_OLD))("NO-SUCH-TABLE.DAT");
  report(status == ZKIMGSET_TABLE3D_FAILED, "Set3dFile_old(missing) = %d", status);
  status = ((NameFn)get(ZKIMGSET_NAME_LOAD_3DP_FILE))(NULL);
  report(status == ZKIMGSET_NOT_LOADED, "Load3dpFile(NULL) = %d", status);
  status = ((SetColorConvModeFn)get("SetColorConvMode"))(0);
  report(status == 0, "SetColorConvMode(0) = %d", status);
  {
    unsigned char grey[16 * 16 * 3];
    memset(grey, 128, sizeof grey);
    status = ((ImageSetupExecExFn)get("ImageSetupExecEx"))(
        grey, 16, 16, 16 * 3, 24, 0, ZKIMGSET_SETUP_FULL, 100, 0, 0, 0, 0, 0, 0, 0);
    report(status == 0, "ImageSetupExecEx(full analysis) = %d", status);
  }

  /* The library's own set-up. */
  make_picture(picture);
  status = ((GetAtParamExFn)get("GetAtParamEx"))(picture, WIDTH, HEIGHT, &record, 0, 10, -5);
  report(status == 0, "GetAtParamEx = %d, cr_ofs %d, cb_ofs %d, tone[128] %d", status,
         record.cr_ofs, record.cb_ofs, record.tone[128]);
  write_file(folder, "record.bin", &record, sizeof record);
  {
    tagRECT area = {0, 0, WIDTH - 1, HEIGHT - 1};
    tagRECT bounds = area;
    memcpy(pixels, picture, PIXEL_BYTES);
    status = ((ImageDataConvertExFn)get(ZKIMGSET_NAME_IMAGE_DATA_CONVERT_EX))(
        pixels, WIDTH, HEIGHT, 0, &record, &area, &bounds);
    report(status == 0 && memcmp(pixels, picture, PIXEL_BYTES) != 0,
           "ImageDataConvertEx = %d, pixels changed: %s", status,
           memcmp(pixels, picture, PIXEL_BYTES) != 0 ? "yes" : "no");
    write_file(folder, "convert.rgb", pixels, PIXEL_BYTES);
  }

  /* The service's set-up, against the stand-in beside the program. */
  memcpy(pixels, picture, PIXEL_BYTES);
  status = ((AutoSetupExecExFn)get("AutoSetupExecEx"))(pixels, WIDTH, HEIGHT, 3 * WIDTH, 24, 0, 255,
                                                       0, 0);
  report(status == 0, "AutoSetupExecEx = %d, pixels changed: %s", status,
         memcmp(pixels, picture, PIXEL_BYTES) != 0 ? "yes" : "no");
  write_file(folder, "autosetup.rgb", pixels, PIXEL_BYTES);

  close_library(loaded);
  fclose(transcript);
  free(picture);
  free(pixels);
  printf("host: %s, %d unexpected results; transcript in %s/transcript.txt\n", name, failures,
         folder);
  return failures == 0 ? 0 : 1;
}
