// The set-up table's cache. The file's 3-D table is compared byte for byte
// (a load may have changed it, or left it half-filled after a failure).
#include "colour/setup_table_cache.h"

#include <cstring>
#include <new>

#include "colour/table_limits.h"

namespace zkimgset::colour {

bool SetupTableInputs::operator==(const SetupTableInputs& other) const noexcept {
  return std::memcmp(this, &other, sizeof other) == 0;
}

bool SetupTableCache::fetch(const SetupTableInputs& inputs, const std::uint8_t* file_table,
                            std::uint8_t* table) const noexcept {
  if (!valid_ || !(inputs == inputs_)) return false;
  if (inputs.use_file_table && std::memcmp(file_table, file_table_.get(), kTable3dBytes) != 0)
    return false;
  std::memcpy(table, nodes_.get(), kTable3dBytes);
  return true;
}

void SetupTableCache::store(const SetupTableInputs& inputs, const std::uint8_t* file_table,
                            const std::uint8_t* table) noexcept {
  valid_ = false;
  if (!file_table_) file_table_.reset(new (std::nothrow) std::uint8_t[kTable3dBytes]);
  if (!nodes_) nodes_.reset(new (std::nothrow) std::uint8_t[kTable3dBytes]);
  if (!file_table_ || !nodes_) return;
  inputs_ = inputs;
  if (inputs.use_file_table) std::memcpy(file_table_.get(), file_table, kTable3dBytes);
  std::memcpy(nodes_.get(), table, kTable3dBytes);
  valid_ = true;
}

}  // namespace zkimgset::colour
