// Binding the Exif-tag service, all or nothing: the nine functions are looked
// up by these exact names, in this order.
#include "frame/service_binding.h"

#include "platform/dynamic_library.h"
#include "zkimgset/zkimgset.h"

namespace zkimgset {
namespace {

template <class Fn>
bool find(void* module, const char* name, Fn& fn) {
  fn = reinterpret_cast<Fn>(platform::find_function(module, name));
  return fn != nullptr;
}

}  // namespace

int bind_service(ServiceBinding& b) noexcept {
  try {
    if (b.module == nullptr) b.module = platform::open_library(platform::service_library_name());
  } catch (...) {
    b.module = nullptr;
  }
  if (b.module == nullptr) return ZKIMGSET_SERVICE_MISSING;
  // Every lookup runs, as the service has always been bound.
  bool all = find(b.module, "OSTREL_T_CreateExifTag", b.create_exif_tag);
  all &= find(b.module, "OSTREL_T_SetTiffifdTag", b.set_tiff_tag);
  all &= find(b.module, "OSTREL_T_SetExififdTag", b.set_exif_tag);
  all &= find(b.module, "OSTREL_ST_InitFlags", b.init_flags);
  all &= find(b.module, "OSTREL_B_AutoSetupWithExifTag", b.bitmap_auto_setup);
  all &= find(b.module, "OSTREL_R_AutoSetupWithExifTag", b.packed_auto_setup);
  all &= find(b.module, "OSTREL_H_GetImagePtr", b.get_image);
  all &= find(b.module, "OSTREL_T_DeleteExifTag", b.delete_exif_tag);
  all &= find(b.module, "OSTREL_H_DeleteHandle", b.delete_handle);
  if (all) return ZKIMGSET_OK;
  unbind_service(b);
  return ZKIMGSET_SERVICE_MISSING;
}

int unbind_service(ServiceBinding& b) noexcept {
  platform::close_library(b.module);
  b = ServiceBinding{};
  return ZKIMGSET_OK;
}

}  // namespace zkimgset
