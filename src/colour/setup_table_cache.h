// The set-up table's cache: the inputs of the last build and the nodes it
// made. Building the table costs milliseconds (a power, a cube root and an
// arc tangent a node); a host that converts picture after picture with the
// same record and settings gets the nodes back for the cost of comparing
// the inputs. The key is the inputs themselves, everything the node loop
// reads, so no writer of the library's state has to remember to clear it.
#pragma once

#include <cstdint>
#include <memory>

namespace zkimgset::colour {

// Everything the node loop reads besides the file's 3-D table. It has no
// padding (every byte is a field), so two keys compare as bytes.
struct SetupTableInputs {
  double blend;  // weight of the correction against the plain level stretch
  float gain[3];
  float black, white[3];  // the level stretch
  std::int16_t sat_coef[100];
  std::int16_t shift_c, shift_d;  // the host's chroma shifts, clamped
  std::uint16_t setup_mode;
  std::uint8_t tone[256];
  std::uint8_t channel_table[256][3];  // balance curves and 1-D table, folded
  std::uint8_t use_file_table;
  std::uint8_t unused[5];

  bool operator==(const SetupTableInputs& other) const noexcept;
};
static_assert(sizeof(SetupTableInputs) == 8 + 4 * 7 + 2 * 103 + 256 + 768 + 6,
              "SetupTableInputs must have no padding");

class SetupTableCache {
 public:
  // Copies the nodes of the last build into table and returns true when it
  // had these inputs and this file table (its bytes, when it is used).
  bool fetch(const SetupTableInputs& inputs, const std::uint8_t* file_table,
             std::uint8_t* table) const noexcept;

  // Keeps the inputs and nodes of a build; keeps nothing when the memory
  // for them cannot be had.
  void store(const SetupTableInputs& inputs, const std::uint8_t* file_table,
             const std::uint8_t* table) noexcept;

 private:
  bool valid_ = false;
  SetupTableInputs inputs_{};
  std::unique_ptr<std::uint8_t[]> file_table_, nodes_;
};

}  // namespace zkimgset::colour
