/* The smallest host: load the library, check that its colour tables beside
   it load, and set the colour conversion mode. Build it with
     cc hello.c $(pkg-config --cflags --libs zkimgset)
   and run it as it is: pkg-config's flags record the library's folder in
   the program (its RPATH), so no LD_LIBRARY_PATH is needed. */
#include <stdio.h>
#include <zkimgset/zkimgset.h>

int main(void) {
  int status = Set3dFile(NULL);
  printf("3-D colour table beside the library: %s (%d)\n", zkimgset_status_text(status), status);
  if (status != ZKIMGSET_OK) return 1;

  status = SetColorConvMode(ZKIMGSET_CONV_SKIP_1D_TABLE);
  printf("colour conversion mode 2: %s (%d)\n", zkimgset_status_text(status), status);

  printf("records: AutoSetupParam %u bytes, ExifParamEx %u bytes, thumbnail %u bytes\n",
         (unsigned)sizeof(AutoSetupParam), (unsigned)sizeof(ExifParamEx),
         (unsigned)sizeof(_ThumbnailData));
  return status == ZKIMGSET_OK ? 0 : 1;
}
