// Fuzzes the record and field readers on their own: every record of the
// input is split into fields and parsed as both record forms.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "colour/table_limits.h"
#include "colour/table_records.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zkimgset::colour;
  std::vector<char> text(data, data + size);
  char* cursor = text.data();
  unsigned long left = static_cast<unsigned long>(text.size());
  char record[kRecordBufferBytes];
  char field[kRecordBufferBytes];
  for (;;) {
    std::memset(record, 0, sizeof record);
    if (get_next_record(&cursor, &left, record) == 0) break;
    char* fields = record;
    while (classify_string(&fields, field) != 0) {
    }
    unsigned char r, g, b;
    load_3d_lut(record, &r, &g, &b);
    load_1d_lut(record, &r, &g, &b);
  }
  return 0;
}
