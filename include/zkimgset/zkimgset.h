/*
 * ZKImgSet: image set-up for photographic print production.
 *
 * The one public header. Plain C, except the nine table functions that the
 * library exports under decorated (C++) names: they are declared with C++
 * linkage below and can be called from C++ only.
 *
 * The library keeps process-wide state (loaded colour tables, modes, the last
 * shooting values and the last analysis) and no export takes a handle. Every
 * export that returns an int returns one of the zkimgset_status codes.
 * "Locks" below means the export holds the library lock for its work; the
 * others touch shared state unguarded, so a host calling them from several
 * threads serialises those calls itself.
 */
#ifndef ZKIMGSET_ZKIMGSET_H
#define ZKIMGSET_ZKIMGSET_H

#include <stdint.h>

#define ZKIMGSET_VERSION_MAJOR 0
#define ZKIMGSET_VERSION_MINOR 1
#define ZKIMGSET_VERSION_PATCH 0

/* ---- Linkage ------------------------------------------------------------ */

#if defined(_WIN32)
#define ZKIMGSET_CALL __cdecl
/* The library's module-definition file names its exports on Windows.
   Hosts that use <windows.h> include it before this header. */
#if defined(ZKIMGSET_BUILDING)
#define ZKIMGSET_API
#else
#define ZKIMGSET_API __declspec(dllimport)
#endif
#else
#define ZKIMGSET_CALL
#if defined(ZKIMGSET_BUILDING)
#define ZKIMGSET_API __attribute__((visibility("default")))
#else
#define ZKIMGSET_API
#endif
#endif

#if defined(__cplusplus)
#define ZKIMGSET_SIZE_CHECK(type, size) \
  static_assert(sizeof(type) == (size), #type " must be " #size " bytes")
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define ZKIMGSET_SIZE_CHECK(type, size) \
  _Static_assert(sizeof(type) == (size), #type " must be " #size " bytes")
#else
#define ZKIMGSET_SIZE_CHECK(type, size) \
  typedef char zkimgset_size_check_##type[(sizeof(type) == (size)) ? 1 : -1]
#endif

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
#error "ZKImgSet records are little-endian exchange layouts; big-endian hosts are not supported"
#endif

/* ---- Status codes ------------------------------------------------------- */

enum zkimgset_status {
  /* A colour table was never loaded (its status before start-up), or
     Load3dpFile could not open, seek or read its file. */
  ZKIMGSET_NOT_LOADED = -1,
  ZKIMGSET_OK = 0,
  /* GetExifParam/GetExifParamEx succeeded and the file carries the maker's
     source mark: automatic correction is off for the next set-up. */
  ZKIMGSET_SOURCE_MARK = 1,
  /* A null pointer, bits per pixel other than 24 or 32, a layout or mode
     out of range, a width or height below 1 or above 32767. */
  ZKIMGSET_BAD_ARGUMENT = 2,
  /* A buffer could not be allocated, or the library's start-up could not
     allocate its tables. */
  ZKIMGSET_OUT_OF_MEMORY = 3,
  /* Image size outside the accepted range. */
  ZKIMGSET_BAD_SIZE = 4,
  /* An Exif file could not be opened or its Exif block not be rebuilt. */
  ZKIMGSET_FILE_ERROR = 7,
  /* Bad planar YCbCr descriptor. */
  ZKIMGSET_BAD_PLANAR = 9,
  /* The 1-D colour table file is missing or malformed. */
  ZKIMGSET_TABLE1D_FAILED = 17,
  /* The 3-D colour table file is missing or malformed. */
  ZKIMGSET_TABLE3D_FAILED = 18,
  /* The file holds no readable Exif data. */
  ZKIMGSET_NO_EXIF = 20,
  /* Width / height above 20.0 or below 0.05. */
  ZKIMGSET_BAD_ASPECT = 21,
  /* The Exif-tag service library is missing or lacks one of its functions. */
  ZKIMGSET_SERVICE_MISSING = 22,
  /* The Exif-tag service's automatic set-up returned 1. */
  ZKIMGSET_SERVICE_REFUSED = 23,
  /* The Exif-tag service's automatic set-up returned another failure. */
  ZKIMGSET_SERVICE_FAILED = 24,
  /* The Exif-tag service could not hand back the corrected image. */
  ZKIMGSET_SERVICE_NO_RESULT = 25
};

/* ---- Modes -------------------------------------------------------------- */

/* ColorConvMode bits (SetColorConvMode). The start value is 3. */
#define ZKIMGSET_CONV_SKIP_3D_TABLE 0x1 /* leave the 3-D table out; no white guard */
#define ZKIMGSET_CONV_SKIP_1D_TABLE 0x2 /* leave the 1-D table out */

/* setup_mode bits: which analysis stages run. The start value is 0. */
#define ZKIMGSET_SETUP_BALANCE 0x01         /* colour balance */
#define ZKIMGSET_SETUP_SATURATION 0x02      /* full saturation (with 0x40) */
#define ZKIMGSET_SETUP_STATISTICS 0x04      /* cleared by the statistics stage */
#define ZKIMGSET_SETUP_SIMPLE_DENSITY 0x08  /* density from the mean */
#define ZKIMGSET_SETUP_GROUP_DENSITY 0x10   /* density from groups */
#define ZKIMGSET_SETUP_HALVE 0x20           /* halve every correction */
#define ZKIMGSET_SETUP_SATURATION_KEEP 0x40 /* full saturation (with 0x02) */
#define ZKIMGSET_SETUP_SMALL_IMAGE 0x80     /* set for images of at most 640 pixels */
#define ZKIMGSET_SETUP_FULL 0xDF            /* the full analysis */

/* ---- Records ------------------------------------------------------------ */
/* Packed little-endian exchange layouts; their sizes are checked below. */

#pragma pack(push, 1)

#if !(defined(_WIN32) && defined(_WINDEF_))
/* A rectangle with inclusive right and bottom: a whole picture of w x h
   pixels is (0, 0, w - 1, h - 1). Windows' own RECT is the same layout. */
typedef struct tagRECT {
  int32_t left;
  int32_t top;
  int32_t right;
  int32_t bottom;
} tagRECT;
#elif !defined(__cplusplus)
/* <windows.h> came first: its struct tagRECT, under the name C++ gives it. */
typedef struct tagRECT tagRECT;
#endif

#define ZKIMGSET_THUMB_WIDTH 128
#define ZKIMGSET_THUMB_HEIGHT 92
#define ZKIMGSET_THUMB_PIXELS (ZKIMGSET_THUMB_WIDTH * ZKIMGSET_THUMB_HEIGHT)

/* The result of the automatic set-up analysis. */
typedef struct AutoSetupParam {
  uint8_t tone[256];     /* gradation: output level for each input level */
  int16_t cr_ofs;        /* colour-balance offset, red-difference axis */
  int16_t cb_ofs;        /* colour-balance offset, blue-difference axis */
  int16_t sat_coef[100]; /* saturation coefficients */
} AutoSetupParam;

/* The analysis thumbnail: four 128 x 92 planes, row 0 first, always
   landscape. Plane 0 is the averaged luminance yy; planes 1 to 3 hold the
   red, green and blue samples, and after the statistics Cr + 128, Y and
   Cb + 128. */
typedef struct _ThumbnailData {
  uint8_t plane[4][ZKIMGSET_THUMB_PIXELS];
} _ThumbnailData;

/* Shooting conditions read from a camera file's Exif IFD. Absent fields are
   0, except Flash, which is 255 (unknown). The field order is the host's
   exchange order, not the order of the tag numbers. */
typedef struct ExifParam {
  uint16_t CustomRendered; /* 0xA401 */
  uint16_t reserved0;
  int32_t BrightnessValue_num; /* 0x9203, SRATIONAL */
  int32_t BrightnessValue_den;
  uint16_t LightSource;          /* 0x9208 */
  uint16_t Flash;                /* 0x9209; 255 when absent */
  uint16_t ExposureMode;         /* 0xA402 */
  uint16_t WhiteBalance;         /* 0xA403 */
  uint32_t DigitalZoomRatio_num; /* 0xA404, RATIONAL */
  uint32_t DigitalZoomRatio_den;
  uint16_t SceneCaptureType;      /* 0xA406 */
  uint16_t Sharpness;             /* 0xA40A */
  uint16_t FocalLengthIn35mmFilm; /* 0xA405 */
  uint16_t SubjectDistanceRange;  /* 0xA40C */
  uint16_t Contrast;              /* 0xA408 */
  uint16_t Saturation;            /* 0xA409 */
} ExifParam;

/* Camera make and model and the exposure values: bytes 40 to 595 of an
   ExifParamEx, the block SetExifParamEx takes by value. */
typedef struct ExifShotInfo {
  char Make[260];           /* 0x010F, NUL-terminated */
  char Model[260];          /* 0x0110, NUL-terminated */
  uint16_t ISOSpeedRatings; /* 0x8827 */
  uint16_t reserved1;
  uint32_t ExposureTime_num; /* 0x829A, RATIONAL */
  uint32_t ExposureTime_den;
  uint32_t FNumber_num; /* 0x829D, RATIONAL */
  uint32_t FNumber_den;
  int32_t ShutterSpeedValue_num; /* 0x9201, SRATIONAL */
  int32_t ShutterSpeedValue_den;
  uint32_t ApertureValue_num; /* 0x9202, RATIONAL */
  uint32_t ApertureValue_den;
} ExifShotInfo;

/* The extended Exif record. */
typedef struct ExifParamEx {
  ExifParam param;
  ExifShotInfo shot;
  uint8_t reserved2[2700]; /* always zero */
} ExifParamEx;

/* The 40-byte bitmap information header of ResizeExec's pictures (Windows'
   BITMAPINFOHEADER layout). Only the width and height are read. */
typedef struct ZKImgSetBitmapInfoHeader {
  uint32_t biSize;
  int32_t biWidth;
  int32_t biHeight;
  uint16_t biPlanes;
  uint16_t biBitCount;
  uint32_t biCompression;
  uint32_t biSizeImage;
  int32_t biXPelsPerMeter;
  int32_t biYPelsPerMeter;
  uint32_t biClrUsed;
  uint32_t biClrImportant;
} ZKImgSetBitmapInfoHeader;

#pragma pack(pop)

/* Planar YCbCr data for ImageDataConvertEx mode 1, passed in place of the
   pixels: the Y plane holds one byte a pixel, row after row; each chroma
   plane holds its samples one after another, one for every h_factor pixels
   of every v_factor-th row. The byte counts are checked (1 to 0x7FFFFFFF)
   and no plane is read or written past its count. */
typedef struct ZKImgSetPlanarYCbCr {
  unsigned char* y;
  unsigned char* cb;
  unsigned char* cr;
  uint32_t y_bytes;
  uint32_t cb_bytes;
  uint32_t cr_bytes;
  int16_t h_factor; /* 1 or 2 */
  int16_t v_factor; /* 1 or 2 */
} ZKImgSetPlanarYCbCr;

ZKIMGSET_SIZE_CHECK(tagRECT, 16);
ZKIMGSET_SIZE_CHECK(AutoSetupParam, 460);
ZKIMGSET_SIZE_CHECK(_ThumbnailData, 47104);
ZKIMGSET_SIZE_CHECK(ExifParam, 40);
ZKIMGSET_SIZE_CHECK(ExifShotInfo, 556);
ZKIMGSET_SIZE_CHECK(ExifParamEx, 3296);
ZKIMGSET_SIZE_CHECK(ZKImgSetBitmapInfoHeader, 40);

/* ---- Colour tables ------------------------------------------------------ */
/*
 * The tables live beside the library: "ZK1DDATA.DAT" (1-D, header line
 * "1D", 256 records "level,R,G,B") and the first file named ZK3D*.DAT
 * (3-D, header line "3D", 33 x 33 x 33 records "i,j,k,R,G,B", blue
 * fastest; nodes at inputs 0, 7, 15, 23, ..., 255, the node at 7 unused).
 * Start-up loads both. Lines end in LF or CR LF, and the file must end with
 * a line feed: the last byte of a file never reaches a record.
 */

#if defined(__cplusplus)
/* Decorated exports (C++ linkage): the table text readers and loaders.
   None of them locks. */

/* Copies the next line of a text (cursor, bytes left) into record (260
   bytes, cleared by the caller) without its line end and returns the count
   of bytes it consumed less the stripped line end; 0 when nothing is left
   or the line is empty. A one-character line keeps its line feed and
   returns 2. A line longer than 259 characters is cut to its first 259; the
   rest of the line is skipped. */
ZKIMGSET_API unsigned long ZKIMGSET_CALL Get_Next_Record(char** cursor, unsigned long* left,
                                                         char* record);

/* Copies the next comma-separated field of a NUL-terminated record into
   field (260 bytes, cleared here) and returns its length; 0 for an empty
   or missing field. */
ZKIMGSET_API unsigned long ZKIMGSET_CALL Classify_String(char** cursor, char* field);

/* Parses a 3-D record "a,b,c,R,G,B[,...]" (R, G, B stored modulo 256).
   Returns 0, or ZKIMGSET_TABLE3D_FAILED when a field is missing or empty
   (outputs before the missing field are already written). */
ZKIMGSET_API int ZKIMGSET_CALL Load_3D_LUT(char* record, unsigned char* red, unsigned char* green,
                                           unsigned char* blue);

/* Parses a 1-D record "level,R,G,B[,...]". Returns 0, or
   ZKIMGSET_TABLE1D_FAILED. */
ZKIMGSET_API int ZKIMGSET_CALL Load_1D_LUT(char* record, unsigned char* red, unsigned char* green,
                                           unsigned char* blue);

/* Loads the 1-D table from a file in the library's folder (name appended
   to the folder). Returns 0, ZKIMGSET_TABLE1D_FAILED (null name, missing
   or malformed file, or not a regular file), or ZKIMGSET_OUT_OF_MEMORY. The 1-D status that the
   conversions check is set at start-up only. */
ZKIMGSET_API int ZKIMGSET_CALL Set1dFile(const char* name);

/* Loads a 3-D table file in the older 33-node layout, which the
   interpolation does not read; kept for old callers. Returns as
   Set3dFile. */
ZKIMGSET_API int ZKIMGSET_CALL Set3dFile_old(const char* name);

/* Loads the 3-D table from a binary file in the installation's data folder
   (name appended with no separator: pass a leading "/"). Returns 0,
   ZKIMGSET_NOT_LOADED when the file cannot be opened, sought or read whole,
   or ZKIMGSET_OUT_OF_MEMORY. The 3-D status is not changed. */
ZKIMGSET_API int ZKIMGSET_CALL Load3dpFile(const char* name);

/* Applies a set-up record (from GetAtParamEx) and the library's colour
   tables to a picture in place. mode 0: packed R, G, B rows (width x 3
   bytes); mode 2: bitmap rows B, G, R padded to 4 bytes; mode 1: data is a
   ZKImgSetPlanarYCbCr. Converts the area (inclusive) of a picture whose row
   length in pixels is the bounds' width (the bounds may carry the buffer's
   stride; only their width is used); the buffer must hold every row the
   area touches. Mode 1 converts the bounds' size of the planes. In colour
   conversion modes 0 and 2 pure white stays white and no other pixel
   reaches 255 in every channel. Returns 0 (an empty area converts
   nothing); ZKIMGSET_BAD_ARGUMENT (null pointer or rectangle, bad mode, or
   an area that would reach before data or past the end of the address
   space); ZKIMGSET_BAD_SIZE unless one side is at least 128 and the other
   at least 92, both at most 6144; ZKIMGSET_BAD_PLANAR; ZKIMGSET_OUT_OF_MEMORY
   when start-up could not allocate the set-up table. The record stays
   loaded for later calls. No lock. */
ZKIMGSET_API int ZKIMGSET_CALL ImageDataConvertEx(void* data, int width, int height, int mode,
                                                  void* record, tagRECT* area, tagRECT* bounds);

/* Debug dump of the last analysis: writes folder + base_name +
   "_AutoSetupParam.txt" (the analysis quantities, the tone and saturation
   tables), "_ThumbYCC128x92.raw" (Cr + 128, Y, Cb + 128 of each thumbnail
   pixel), "_ThumbRGB128x92.raw" and "_th_yy128x92.raw". folder and
   base_name are joined with nothing between them: give folder its
   separator. Each file is written only if the one before it could be
   opened; a null argument writes nothing. Reports nothing. No lock. */
ZKIMGSET_API void ZKIMGSET_CALL DumpAutoSetupParam(const char* folder, const char* base_name,
                                                   tagRECT* image_rect, _ThumbnailData* thumbnail);
#endif

#if defined(__cplusplus)
extern "C" {
#endif

/* Loads the 3-D table from a file in the library's folder, or, with a null
   name, from the first file there named ZK3D*.DAT. Returns 0 (and the 3-D
   status becomes 0), ZKIMGSET_TABLE3D_FAILED (no file, unreadable or not a
   regular file, bad header, too few records, a malformed record), or
   ZKIMGSET_OUT_OF_MEMORY.
   A file that fails after its header leaves the table cleared and partly
   filled while the status keeps its earlier value. Locks. */
ZKIMGSET_API int ZKIMGSET_CALL Set3dFile(const char* name);

/* ---- Automatic set-up analysis ----------------------------------------- */
/*
 * The analysis runs under setup_mode (ZKIMGSET_SETUP_* bits, 0 after load),
 * which it does not set itself: a host stores it through the set-up exports.
 * With setup_mode 0 the result is neutral: offsets 0, saturation 1024 and
 * the level-gamma-only tone curve. The analysis may clear bits of setup_mode
 * (an unusable picture keeps only 0x40; a picture unsuited to grouping loses
 * 0x10), and they stay cleared for later calls. None of these exports locks:
 * a host that analyses from several threads serialises the calls itself.
 */

/* Analyses a picture of packed 24-bit pixels (R, G, B, rows top first, no
   padding) and fills result with its tone curve, colour-balance offsets and
   saturation coefficients. flash is the Exif Flash value (255 = unknown),
   brightness_mother and brightness_child the denominator and numerator of
   the Exif BrightnessValue; they are stored for the analysis and later
   set-ups. Returns 0; ZKIMGSET_BAD_ARGUMENT for a null pointer or a side
   below 1 or above 32767; ZKIMGSET_BAD_SIZE unless one side is at least 128
   and the other at least 92, both at most 6144; ZKIMGSET_OUT_OF_MEMORY.
   Nothing is written to result on failure. */
ZKIMGSET_API int ZKIMGSET_CALL GetAtParamEx(const void* image, int width, int height,
                                            AutoSetupParam* result, unsigned short flash,
                                            int brightness_mother, int brightness_child);

/* GetAtParamEx with flash unknown (255) and no brightness (0, 0). */
ZKIMGSET_API int ZKIMGSET_CALL GetAtParam(const void* image, int width, int height,
                                          AutoSetupParam* result);

/* Kept for old hosts: only stores flash, brightness_child and
   brightness_mother for later set-ups and returns 0. It neither reads bits
   nor writes result. */
ZKIMGSET_API int ZKIMGSET_CALL GetAtParamFromDIBitsEx(const void* bits, int width, int height,
                                                      AutoSetupParam* result, unsigned short flash,
                                                      int brightness_mother, int brightness_child);

/* GetAtParamFromDIBitsEx with 255, 0, 0: stores them and returns 0. */
ZKIMGSET_API int ZKIMGSET_CALL GetAtParamFromDIBits(const void* bits, int width, int height,
                                                    AutoSetupParam* result);

/* ---- Density and colour-balance conversions ---------------------------- */
/*
 * In place on 24-bit pictures: packed R, G, B rows top first, or with _BGR
 * bitmap rows of B, G, R padded to 4 bytes. Pure white margins are never
 * changed: each stage converts the bounding box of the non-white pixels.
 * The 3-D stage reserves pure white: no converted pixel reaches 255 in every
 * channel unless it is pure white. Shifts are balance steps, clamped to
 * -7..7. Returns 0; ZKIMGSET_OUT_OF_MEMORY when start-up failed; the failing
 * table's status (17, 18, or -1 before any load) for a table the conversion
 * needs; ZKIMGSET_BAD_ARGUMENT for a null buffer. All lock.
 */

/* Balance curves and 1-D table, then the 3-D table. */
ZKIMGSET_API int ZKIMGSET_CALL Den2TA(unsigned char* pixels, int width, int height);
ZKIMGSET_API int ZKIMGSET_CALL Den2TAEx(unsigned char* pixels, int width, int height, int red,
                                        int green, int blue);
ZKIMGSET_API int ZKIMGSET_CALL Den2TA_BGR(unsigned char* pixels, int width, int height);
ZKIMGSET_API int ZKIMGSET_CALL Den2TA_BGREx(unsigned char* pixels, int width, int height, int red,
                                            int green, int blue);
/* The 3-D table alone. */
ZKIMGSET_API int ZKIMGSET_CALL Vorn2TA(unsigned char* pixels, int width, int height);
ZKIMGSET_API int ZKIMGSET_CALL Vorn2TA_BGR(unsigned char* pixels, int width, int height);
/* Balance curves, then the 1-D table unless the colour conversion mode
   leaves it out (the default mode 3 does). */
ZKIMGSET_API int ZKIMGSET_CALL Den2Vorn(unsigned char* pixels, int width, int height);
ZKIMGSET_API int ZKIMGSET_CALL Den2VornEx(unsigned char* pixels, int width, int height, int red,
                                          int green, int blue);
ZKIMGSET_API int ZKIMGSET_CALL Den2Vorn_BGR(unsigned char* pixels, int width, int height);
ZKIMGSET_API int ZKIMGSET_CALL Den2Vorn_BGREx(unsigned char* pixels, int width, int height, int red,
                                              int green, int blue);
/* Balance curves alone. Also ZKIMGSET_BAD_SIZE unless one side is at least
   128 and the other at least 92, both at most 6144. */
ZKIMGSET_API int ZKIMGSET_CALL ColorBalanceAdj(unsigned char* pixels, int width, int height,
                                               int red, int green, int blue);
ZKIMGSET_API int ZKIMGSET_CALL ColorBalanceAdj_BGR(unsigned char* pixels, int width, int height,
                                                   int red, int green, int blue);

/* A bottom-up bitmap (B, G, R rows padded to 4 bytes) to top-down packed
   R, G, B rows, in place. Row lengths are 16-bit quantities: widths above
   21845 wrap, and go through a picture-sized temporary: without memory
   for it the picture is left as it is. Reports nothing (returns 0). No
   lock. */
ZKIMGSET_API int ZKIMGSET_CALL BgrRgbConversion(unsigned char* pixels, int width, int height);
/* The reverse; the buffer must hold the padded bitmap size. Returns 0. */
ZKIMGSET_API int ZKIMGSET_CALL RgbBgrConversion(unsigned char* pixels, int width, int height);

/* ---- Set-up driver ------------------------------------------------------ */
/*
 * The Exif-tag service's automatic set-up (the library "libostrel.so",
 * found by the system's library search, is bound for each call and released
 * before it returns), then the library's colour tables: the white border is
 * cut off into a work copy, the service corrects it when the low five bits
 * of setup_mode are all set, the result is merged back and every pixel of
 * the content goes through the set-up colour table in place. Pictures are
 * 24 or 32 bits a pixel (three bytes used); layout 0 packed R, G, B rows,
 * layout 1 bitmap rows B, G, R padded to 4 bytes. The service receives the
 * shooting values stored by GetAtParamEx, SetExifParam or SetExifParamEx;
 * the flash and brightness arguments here are accepted and ignored.
 * Statuses: 0; ZKIMGSET_BAD_ARGUMENT (null pixels, bits, layout);
 * ZKIMGSET_BAD_SIZE (a side below 16 or above 6144); ZKIMGSET_BAD_ASPECT
 * (width / height above 20 or below 0.05); ZKIMGSET_OUT_OF_MEMORY;
 * ZKIMGSET_SERVICE_MISSING, _REFUSED, _FAILED, _NO_RESULT. The picture is
 * unchanged after any failure.
 */

/* Runs the driver under the library lock. */
ZKIMGSET_API int ZKIMGSET_CALL AutoSetupExecEx(void* pixels, int width, int height, int stride,
                                               int bits_per_pixel, unsigned int layout,
                                               unsigned short flash, int brightness1,
                                               int brightness2);

/* Stores the host's adjustments, clamped (a later dump shows them clamped):
   setup_mode (0..255: which analysis stages run, and 0x1F runs the
   service), SetupAdjustLevel (70..130, 100 neutral), SetupAdjustA contrast
   (-30..30), SetupAdjustB saturation (-150..150), SetupAdjustC and
   SetupAdjustD blue and red shifts (-7..7), and three balance steps (-7..7)
   for red, green and blue; then runs the driver under the lock. First
   refuses with the failing table's status while a table the colour
   conversion mode needs failed to load. This is how a host configures the
   library's own analysis: store setup_mode 0xDF here (with no service
   installed the call itself returns 22), then call GetAtParamEx. */
ZKIMGSET_API int ZKIMGSET_CALL ImageSetupExecEx(void* pixels, int width, int height, int stride,
                                                int bits_per_pixel, unsigned int layout,
                                                int setup_mode, int level, int contrast,
                                                int saturation, int blue_shift, int red_shift,
                                                int red_step, int green_step, int blue_step);

/* The driver on a 24-bit bitmap (B, G, R rows padded to 4 bytes), after
   setting setup_mode to 0xDF and the colour conversion mode to 1 for this
   and all later calls; refuses with the 1-D table's status when it failed
   to load. No lock. */
ZKIMGSET_API int ZKIMGSET_CALL ImageDataConvert(void* pixels, int width, int height);

/* ---- Resize --------------------------------------------------------- */

/* Scales a 24-bit bottom-up bitmap (rows padded to 4 bytes) to new_width x
   new_height, keeping its proportions by cutting a centred strip off the
   source (nothing is letter-boxed). Writes result_header (the source header
   with the result's size) and the result's rows into result_pixels. The
   result's size is the one zkimgset_resize_plan computes (below): strong
   reductions may make it one pixel smaller than asked, and one row larger,
   so size result_pixels with zkimgset_resize_plan and
   zkimgset_bitmap_bytes. Returns 0; ZKIMGSET_BAD_ARGUMENT for a null
   pointer or a size below 1; ZKIMGSET_OUT_OF_MEMORY when a work buffer
   cannot be had or a picture is too large for any buffer. No lock. */
ZKIMGSET_API int ZKIMGSET_CALL ResizeExec(const ZKImgSetBitmapInfoHeader* source_header,
                                          const void* source_pixels,
                                          ZKImgSetBitmapInfoHeader* result_header,
                                          void* result_pixels, int new_width, int new_height);

/* Bytes in a row of a 24-bit bitmap: 3 a pixel, padded to a multiple of 4. */
static inline uint64_t zkimgset_bitmap_row_bytes(int32_t width) {
  return width < 1 ? 0 : ((uint64_t)width * 24 + 31) / 32 * 4;
}

/* Bytes of a 24-bit bitmap of width x height pixels. */
static inline uint64_t zkimgset_bitmap_bytes(int32_t width, int32_t height) {
  return height < 1 ? 0 : zkimgset_bitmap_row_bytes(width) * (uint64_t)height;
}

/* What ResizeExec makes of a request: the centred cut of the source that
   keeps the target's proportions, the kernel the scale picks (1 enlarges
   or keeps, 2 reduces to a half, 3 to a third, 4 further) and the size of
   the result. The float and double steps are the library's own, so a host
   built with SSE arithmetic (every 64-bit build; 32-bit with -msse2
   -mfpmath=sse or /arch:SSE2) gets the library's sizes exactly. */
typedef struct ZKImgSetResizePlan {
  int32_t cut_left, cut_top, cut_width, cut_height;
  int32_t kernel;
  int32_t result_width, result_height;
} ZKImgSetResizePlan;

/* Fills plan for a source of source_width x source_height resized to
   new_width x new_height. Returns 0, or ZKIMGSET_BAD_ARGUMENT for a null
   plan or a size below 1. */
static inline int zkimgset_resize_plan(int32_t source_width, int32_t source_height,
                                       int32_t new_width, int32_t new_height,
                                       ZKImgSetResizePlan* plan) {
  double W, H, w, h;
  float s, left, top, k;
  double x0, y0;
  long long l, t, r, b, cw, ch;
  unsigned long long d, rest, n;
  if (plan == 0 || source_width < 1 || source_height < 1 || new_width < 1 || new_height < 1)
    return ZKIMGSET_BAD_ARGUMENT;
  W = source_width;
  H = source_height;
  w = new_width;
  h = new_height;
  /* The scale that fills the target; the cut is centred. */
  s = (float)(w / (W / H)) >= h ? (float)(w / W) : (float)(h / H);
  x0 = ((float)(W * s) - w) / 2;
  y0 = ((float)(H * s) - h) / 2;
  left = (float)(x0 / s);
  top = (float)(y0 / s);
  l = (long long)left;
  t = (long long)top;
  r = (long long)(left + (W - 2 * (double)left));
  b = (long long)(top + (H - 2 * (double)top));
  /* Rounding can reach a little past the source; a cut stays within int.
     A cut less than a pixel wide is 0 (every output then takes the cut's
     first pixel); a cut less than a row high is taken as one row. */
  cw = r - l < 0 ? 0 : r - l > 2147483647 ? 2147483647 : r - l;
  ch = b - t < 1 ? 1 : b - t > 2147483647 ? 2147483647 : b - t;
  plan->cut_left = (int32_t)l;
  plan->cut_top = (int32_t)t;
  plan->cut_width = (int32_t)cw;
  plan->cut_height = (int32_t)ch;
  k = cw == 0 ? 1.0f : (float)((double)new_width / (double)cw); /* no cut: enlarge */
  plan->kernel = k >= 1.0f ? 1 : k >= 0.5f ? 2 : k >= 1.0f / 3.0f ? 3 : 4;
  plan->result_width = new_width;
  plan->result_height = new_height;
  d = 2 * (unsigned long long)new_width; /* positions count in 1 / d of a source pixel */
  if (plan->kernel == 3) {
    /* One less when the last output would start past the cut. */
    plan->result_width -= ((unsigned long long)(new_width - 1) * 2 * (unsigned long long)cw +
                           2 * (unsigned long long)cw - (unsigned long long)new_width) /
                              d >=
                          (unsigned long long)cw;
    plan->result_height -= ((unsigned long long)(new_height - 1) * 2 * (unsigned long long)ch +
                            2 * (unsigned long long)ch - (unsigned long long)new_height) /
                               d >=
                           (unsigned long long)ch;
  } else if (plan->kernel == 4) {
    /* From the cut: one less when the division is exact. */
    rest = (unsigned long long)cw % (unsigned long long)new_width;
    n = ((unsigned long long)cw + 1) * d + rest;
    plan->result_width =
        (int32_t)(n / (2 * (unsigned long long)cw) - (n % (2 * (unsigned long long)cw) == 0));
    n = ((unsigned long long)ch + 1) * d + rest;
    plan->result_height =
        (int32_t)(n / (2 * (unsigned long long)cw) - (n % (2 * (unsigned long long)cw) == 0));
  }
  return ZKIMGSET_OK;
}

/* Stores the colour conversion mode (ZKIMGSET_CONV_* bits); every value is
   accepted. Always returns 0. Locks. */
ZKIMGSET_API int ZKIMGSET_CALL SetColorConvMode(unsigned short mode);

/* ---- Exif parameters ----------------------------------------------------- */

/* Reads the shooting conditions of a camera file (Exif JPEG or Exif TIFF,
   8-bit path) into out, then checks the file for the maker's source mark.
   Returns 0, ZKIMGSET_SOURCE_MARK (success, and automatic correction is off
   for the next set-up), ZKIMGSET_BAD_ARGUMENT (null path or out, or a path
   with no NUL within 260 bytes), ZKIMGSET_OUT_OF_MEMORY, ZKIMGSET_FILE_ERROR
   (the file cannot be opened or is not a regular file, or its Exif block
   cannot be rebuilt), or
   ZKIMGSET_NO_EXIF. out holds the file's values after 0 and 1 (and after a
   7 or 20 from the second stage), the defaults (all zero, Flash 255) when
   the file has no readable Exif data, and is untouched when the file cannot
   be opened or its reading failed part-way. Locks. */
ZKIMGSET_API int ZKIMGSET_CALL GetExifParam(const char* path, ExifParam* out);

/* As GetExifParam, with the extended record: also Make and Model from the
   0th IFD, ISOSpeedRatings and the exposure rationals. Locks. */
ZKIMGSET_API int ZKIMGSET_CALL GetExifParamEx(const char* path, ExifParamEx* out);

/* Stores an ExifParam passed as its ten 32-bit words as the library's
   shooting values: CustomRendered (low 16 bits), the BrightnessValue
   numerator and denominator, LightSource | Flash << 16, ExposureMode |
   WhiteBalance << 16, the DigitalZoomRatio numerator and denominator,
   SceneCaptureType | Sharpness << 16, FocalLengthIn35mmFilm |
   SubjectDistanceRange << 16, Contrast | Saturation << 16. Nothing is
   checked. Always returns 0. Locks. */
ZKIMGSET_API int ZKIMGSET_CALL SetExifParam(unsigned short custom_rendered, uint32_t w1,
                                            uint32_t w2, uint32_t w3, uint32_t w4, uint32_t w5,
                                            uint32_t w6, uint32_t w7, uint32_t w8, uint32_t w9);

/* As SetExifParam, and also stores Make and Model (as the maker texts, cut
   to 259 characters), ISOSpeedRatings and the exposure rationals of info,
   which is passed by value. Always returns 0. Locks. */
ZKIMGSET_API int ZKIMGSET_CALL SetExifParamEx(unsigned short custom_rendered, uint32_t w1,
                                              uint32_t w2, uint32_t w3, uint32_t w4, uint32_t w5,
                                              uint32_t w6, uint32_t w7, uint32_t w8, uint32_t w9,
                                              ExifShotInfo info);

#if defined(__cplusplus)
}
#endif

/* A short English text for a status code (not an export: header only). */
static inline const char* zkimgset_status_text(int status) {
  switch (status) {
    case ZKIMGSET_NOT_LOADED:
      return "colour table not loaded";
    case ZKIMGSET_OK:
      return "success";
    case ZKIMGSET_SOURCE_MARK:
      return "success; the file carries the source mark";
    case ZKIMGSET_BAD_ARGUMENT:
      return "bad argument";
    case ZKIMGSET_OUT_OF_MEMORY:
      return "out of memory";
    case ZKIMGSET_BAD_SIZE:
      return "image size not accepted";
    case ZKIMGSET_FILE_ERROR:
      return "file could not be read";
    case ZKIMGSET_BAD_PLANAR:
      return "bad planar YCbCr descriptor";
    case ZKIMGSET_TABLE1D_FAILED:
      return "1-D colour table missing or malformed";
    case ZKIMGSET_TABLE3D_FAILED:
      return "3-D colour table missing or malformed";
    case ZKIMGSET_NO_EXIF:
      return "no readable Exif data";
    case ZKIMGSET_BAD_ASPECT:
      return "aspect ratio not accepted";
    case ZKIMGSET_SERVICE_MISSING:
      return "Exif-tag service missing";
    case ZKIMGSET_SERVICE_REFUSED:
      return "Exif-tag service refused the set-up";
    case ZKIMGSET_SERVICE_FAILED:
      return "Exif-tag service set-up failed";
    case ZKIMGSET_SERVICE_NO_RESULT:
      return "Exif-tag service returned no image";
    default:
      return "unknown status";
  }
}

#endif /* ZKIMGSET_ZKIMGSET_H */
