/* The exported names of the nine C++ exports on the platform being built
   for: as the native compiler decorates them on Windows (32-bit and 64-bit
   pointers differ), as the Itanium ABI mangles them elsewhere. Plain C, for
   the host program as much as for the C++ tests. */
#ifndef ZKIMGSET_TESTS_DECORATED_NAMES_H
#define ZKIMGSET_TESTS_DECORATED_NAMES_H

#if defined(_WIN64)
#define ZKIMGSET_DECORATED(x86, x64, itanium) x64
#elif defined(_WIN32)
#define ZKIMGSET_DECORATED(x86, x64, itanium) x86
#else
#define ZKIMGSET_DECORATED(x86, x64, itanium) itanium
#endif

#define ZKIMGSET_NAME_CLASSIFY_STRING                                                         \
  ZKIMGSET_DECORATED("?Classify_String@@YAKPAPADPAD@Z", "?Classify_String@@YAKPEAPEADPEAD@Z", \
                     "_Z15Classify_StringPPcS_")
#define ZKIMGSET_NAME_DUMP_AUTO_SETUP_PARAM                                              \
  ZKIMGSET_DECORATED("?DumpAutoSetupParam@@YAXPBD0PAUtagRECT@@PAU_ThumbnailData@@@Z",    \
                     "?DumpAutoSetupParam@@YAXPEBD0PEAUtagRECT@@PEAU_ThumbnailData@@@Z", \
                     "_Z18DumpAutoSetupParamPKcS0_P7tagRECTP14_ThumbnailData")
#define ZKIMGSET_NAME_GET_NEXT_RECORD                      \
  ZKIMGSET_DECORATED("?Get_Next_Record@@YAKPAPADPAKPAD@Z", \
                     "?Get_Next_Record@@YAKPEAPEADPEAKPEAD@Z", "_Z15Get_Next_RecordPPcPmS_")
#define ZKIMGSET_NAME_IMAGE_DATA_CONVERT_EX                              \
  ZKIMGSET_DECORATED("?ImageDataConvertEx@@YAHPAXHHH0PAUtagRECT@@1@Z",   \
                     "?ImageDataConvertEx@@YAHPEAXHHH0PEAUtagRECT@@1@Z", \
                     "_Z18ImageDataConvertExPviiiS_P7tagRECTS1_")
#define ZKIMGSET_NAME_LOAD_3DP_FILE \
  ZKIMGSET_DECORATED("?Load3dpFile@@YAHPBD@Z", "?Load3dpFile@@YAHPEBD@Z", "_Z11Load3dpFilePKc")
#define ZKIMGSET_NAME_LOAD_1D_LUT                                                    \
  ZKIMGSET_DECORATED("?Load_1D_LUT@@YAHPADPAE11@Z", "?Load_1D_LUT@@YAHPEADPEAE11@Z", \
                     "_Z11Load_1D_LUTPcPhS0_S0_")
#define ZKIMGSET_NAME_LOAD_3D_LUT                                                    \
  ZKIMGSET_DECORATED("?Load_3D_LUT@@YAHPADPAE11@Z", "?Load_3D_LUT@@YAHPEADPEAE11@Z", \
                     "_Z11Load_3D_LUTPcPhS0_S0_")
#define ZKIMGSET_NAME_SET_1D_FILE \
  ZKIMGSET_DECORATED("?Set1dFile@@YAHPBD@Z", "?Set1dFile@@YAHPEBD@Z", "_Z9Set1dFilePKc")
#define ZKIMGSET_NAME_SET_3D_FILE_OLD                                         \
  ZKIMGSET_DECORATED("?Set3dFile_old@@YAHPBD@Z", "?Set3dFile_old@@YAHPEBD@Z", \
                     "_Z13Set3dFile_oldPKc")

#endif
