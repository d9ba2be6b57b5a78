/* A host as the printing applications are: it loads the library at run time
   by name, finds all 37 exports by the names it was linked against (the nine
   C++ ones by their decorated names), checks the start-up state, then runs
   the library's own set-up (GetAtParamEx, ImageDataConvertEx) and the
   service's (AutoSetupExecEx, against the stand-in service beside it) on a
   generated picture.

     host OUT_DIR [LIBRARY]

   writes transcript.txt, record.bin, convert.rgb and autosetup.rgb into
   OUT_DIR; the same program built for Linux and for Windows must write the
   same bytes. LIBRARY defaults to "ZKImgSet.dll" (found in the program's own
   folder first) on Windows and "libzkimgset.so" elsewhere. Exit status 0
   when every step went as a host expects. */
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

enum {
  CLASSIFY_STRING,
  DUMP_AUTO_SETUP_PARAM,
  GET_NEXT_RECORD,
  IMAGE_DATA_CONVERT_EX,
  LOAD_3DP_FILE,
  LOAD_1D_LUT,
  LOAD_3D_LUT,
  SET_1D_FILE,
  SET_3D_FILE_OLD,
  AUTO_SETUP_EXEC_EX,
  GET_AT_PARAM_EX,
  SET_3D_FILE,
  SET_COLOR_CONV_MODE,
  IMAGE_SETUP_EXEC_EX,
  EXPORT_COUNT = 37
};

static const char* const kExports[EXPORT_COUNT] = {ZKIMGSET_NAME_CLASSIFY_STRING,
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

typedef unsigned long(ZKIMGSET_CALL* ClassifyStringFn)(char**, char*);
typedef unsigned long(ZKIMGSET_CALL* GetNextRecordFn)(char**, unsigned long*, char*);
typedef int(ZKIMGSET_CALL* ImageDataConvertExFn)(void*, int, int, int, void*, tagRECT*, tagRECT*);
typedef int(ZKIMGSET_CALL* NameFn)(const char*);
typedef int(ZKIMGSET_CALL* Load1dLutFn)(char*, unsigned char*, unsigned char*, unsigned char*);
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

/* One line of the transcript; a failed check counts. */
static void report(int ok, const char* format, ...) {
  va_list args;
  va_start(args, format);
  vfprintf(transcript, format, args);
  va_end(args);
  fputs(ok ? "\n" : "  <-- unexpected\n", transcript);
  if (!ok) ++failures;
}

static int write_file(const char* folder, const char* name, const void* bytes, size_t size) {
  char path[1024];
  FILE* file;
  snprintf(path, sizeof path, "%s/%s", folder, name);
  file = fopen(path, "wb");
  if (file == NULL) return 0;
  if (fwrite(bytes, 1, size, file) != size) size = 0;
  return fclose(file) == 0 && size > 0;
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
  AnyFunction exports[EXPORT_COUNT];
  unsigned char* picture = malloc(PIXEL_BYTES);
  unsigned char* pixels = malloc(PIXEL_BYTES);
  AutoSetupParam record;
  Library library;
  int i, missing = 0, status;

  char path[1024];
  snprintf(path, sizeof path, "%s/transcript.txt", folder);
  transcript = fopen(path, "wb");
  if (transcript == NULL || picture == NULL || pixels == NULL) {
    fprintf(stderr, "host: cannot write into %s\n", folder);
    return 2;
  }

  library = open_library(name);
  if (library == NULL) {
    fprintf(stderr, "host: cannot load %s\n", name);
    return 1;
  }
  for (i = 0; i < EXPORT_COUNT; ++i) {
    exports[i] = find(library, kExports[i]);
    if (exports[i] == NULL) {
      fprintf(stderr, "host: missing export %s\n", kExports[i]);
      ++missing;
    }
  }
  report(missing == 0, "exports found: %d of %d", EXPORT_COUNT - missing, EXPORT_COUNT);
  if (missing != 0) return 1;

  /* Start-up: the tables beside the library load, the binary table does not
     exist, and the decorated record readers work through their names. */
  status = ((NameFn)exports[SET_3D_FILE])(NULL);
  report(status == 0, "Set3dFile(NULL) = %d", status);
  status = ((NameFn)exports[SET_1D_FILE])("ZK1DDATA.DAT");
  report(status == 0, "Set1dFile(\"ZK1DDATA.DAT\") = %d", status);
  status = ((NameFn)exports[SET_3D_FILE_OLD])("NO-SUCH-TABLE.DAT");
  report(status == ZKIMGSET_TABLE3D_FAILED, "Set3dFile_old(missing) = %d", status);
  status = ((NameFn)exports[LOAD_3DP_FILE])(NULL);
  report(status == ZKIMGSET_NOT_LOADED, "Load3dpFile(NULL) = %d", status);
  {
    char text[] = "1D\n7,10,20,30\n";
    char* cursor = text;
    unsigned long left = (unsigned long)strlen(text);
    char line[260] = {0}, field[260];
    unsigned char r = 0, g = 0, b = 0;
    unsigned long n = ((GetNextRecordFn)exports[GET_NEXT_RECORD])(&cursor, &left, line);
    report(n == 2 && strcmp(line, "1D") == 0, "Get_Next_Record = %lu \"%s\"", n, line);
    memset(line, 0, sizeof line);
    n = ((GetNextRecordFn)exports[GET_NEXT_RECORD])(&cursor, &left, line);
    report(n == 10, "Get_Next_Record = %lu \"%s\"", n, line);
    cursor = line;
    n = ((ClassifyStringFn)exports[CLASSIFY_STRING])(&cursor, field);
    report(n == 1 && strcmp(field, "7") == 0, "Classify_String = %lu \"%s\"", n, field);
    status = ((Load1dLutFn)exports[LOAD_1D_LUT])(line, &r, &g, &b);
    report(status == 0 && r == 10 && g == 20 && b == 30, "Load_1D_LUT = %d (%d, %d, %d)", status, r,
           g, b);
  }
  status = ((SetColorConvModeFn)exports[SET_COLOR_CONV_MODE])(0);
  report(status == 0, "SetColorConvMode(0) = %d", status);
  {
    /* The analysis stages and neutral adjustments, stored as hosts store
       them: a set-up of a small grey picture. */
    unsigned char grey[16 * 16 * 3];
    memset(grey, 128, sizeof grey);
    status = ((ImageSetupExecExFn)exports[IMAGE_SETUP_EXEC_EX])(
        grey, 16, 16, 16 * 3, 24, 0, ZKIMGSET_SETUP_FULL, 100, 0, 0, 0, 0, 0, 0, 0);
    report(status == 0, "ImageSetupExecEx(full analysis) = %d", status);
  }

  /* The library's own set-up. */
  make_picture(picture);
  status = ((GetAtParamExFn)exports[GET_AT_PARAM_EX])(picture, WIDTH, HEIGHT, &record, 0, 10, -5);
  report(status == 0, "GetAtParamEx = %d, cr_ofs %d, cb_ofs %d, tone[128] %d", status,
         record.cr_ofs, record.cb_ofs, record.tone[128]);
  write_file(folder, "record.bin", &record, sizeof record);
  {
    tagRECT area = {0, 0, WIDTH - 1, HEIGHT - 1};
    tagRECT bounds = area;
    memcpy(pixels, picture, PIXEL_BYTES);
    status = ((ImageDataConvertExFn)exports[IMAGE_DATA_CONVERT_EX])(pixels, WIDTH, HEIGHT, 0,
                                                                    &record, &area, &bounds);
    report(status == 0 && memcmp(pixels, picture, PIXEL_BYTES) != 0,
           "ImageDataConvertEx = %d, pixels changed: %s", status,
           memcmp(pixels, picture, PIXEL_BYTES) != 0 ? "yes" : "no");
    report(pixels[0] == 255 && pixels[1] == 255 && pixels[2] == 255, "white margin kept: %s",
           pixels[0] == 255 ? "yes" : "no");
    write_file(folder, "convert.rgb", pixels, PIXEL_BYTES);
  }

  /* The service's set-up, against the stand-in beside the program. */
  memcpy(pixels, picture, PIXEL_BYTES);
  status = ((AutoSetupExecExFn)exports[AUTO_SETUP_EXEC_EX])(pixels, WIDTH, HEIGHT, 3 * WIDTH, 24, 0,
                                                            255, 0, 0);
  report(status == 0, "AutoSetupExecEx = %d, pixels changed: %s", status,
         memcmp(pixels, picture, PIXEL_BYTES) != 0 ? "yes" : "no");
  write_file(folder, "autosetup.rgb", pixels, PIXEL_BYTES);

  close_library(library);
  report(failures == 0, "failures: %d", failures);
  fclose(transcript);
  free(picture);
  free(pixels);
  printf("host: %s, %d unexpected results; transcript in %s/transcript.txt\n", name, failures,
         folder);
  return failures == 0 ? 0 : 1;
}
