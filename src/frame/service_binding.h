// The Exif-tag service: a separate library that the set-up driver binds by
// name for each call, looks up nine functions in (all or nothing) and
// releases again before returning.
#pragma once

namespace zkimgset {

// The service's operations, cdecl, as the driver calls them. Handles and the
// flag block are opaque; a size pair is two ints, width then height; a tag
// value is a SHORT, a numerator/denominator pair or a NUL-terminated text.
#if defined(_WIN32) && !defined(_WIN64)
#define ZKIMGSET_SERVICE_CALL __cdecl
#else
#define ZKIMGSET_SERVICE_CALL
#endif
using CreateExifTagFn = int(ZKIMGSET_SERVICE_CALL*)(void** tag_set);
using SetTagFn = int(ZKIMGSET_SERVICE_CALL*)(void* tag_set, int tag, int type, int count,
                                             const void* value);
using InitFlagsFn = int(ZKIMGSET_SERVICE_CALL*)(void* flags);
using BitmapAutoSetupFn = int(ZKIMGSET_SERVICE_CALL*)(void* bitmap, const char* folder, int, int,
                                                      int* size, int kind, const char* profile,
                                                      void* flags, void* tag_set, void** result);
using PackedAutoSetupFn = int(ZKIMGSET_SERVICE_CALL*)(void* pixels, int* size, const char* folder,
                                                      int, int, int* size2, int kind,
                                                      const char* profile, void* flags,
                                                      void* tag_set, void** result);
using GetImagePtrFn = int(ZKIMGSET_SERVICE_CALL*)(void* result, void** image);
using DeleteFn = int(ZKIMGSET_SERVICE_CALL*)(void** handle);

// The binding: unbound while module is null.
struct ServiceBinding {
  void* module = nullptr;
  CreateExifTagFn create_exif_tag = nullptr;      // OSTREL_T_CreateExifTag
  SetTagFn set_tiff_tag = nullptr;                // OSTREL_T_SetTiffifdTag
  SetTagFn set_exif_tag = nullptr;                // OSTREL_T_SetExififdTag
  InitFlagsFn init_flags = nullptr;               // OSTREL_ST_InitFlags
  BitmapAutoSetupFn bitmap_auto_setup = nullptr;  // OSTREL_B_AutoSetupWithExifTag
  PackedAutoSetupFn packed_auto_setup = nullptr;  // OSTREL_R_AutoSetupWithExifTag
  GetImagePtrFn get_image = nullptr;              // OSTREL_H_GetImagePtr
  DeleteFn delete_exif_tag = nullptr;             // OSTREL_T_DeleteExifTag
  DeleteFn delete_handle = nullptr;               // OSTREL_H_DeleteHandle

  bool bound() const { return module != nullptr; }
};

// Loads the service (unless it is loaded) and looks up all nine functions:
// 0, or 22 with nothing left loaded when the library or a function is
// missing.
int bind_service(ServiceBinding& binding) noexcept;

// Releases the service and clears the binding; always 0.
int unbind_service(ServiceBinding& binding) noexcept;

}  // namespace zkimgset
