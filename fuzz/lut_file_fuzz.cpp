// The reader of lookup files of classified colours: whatever the bytes, nothing or a whole table.
#include <cstdlib>

#include "analysis/lut_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto lut = quillbay::parseLutFile({data, size});
  if (!lut) return 0;
  if (size < quillbay::kLutClasses || lut->size() != quillbay::kLutBytes) std::abort();
  for (std::size_t entry = 0; entry < quillbay::kLutEntries; ++entry) {
    if ((*lut)[4 * entry + 3] != 0) std::abort();  // the reserved byte is never the file's
  }
  return 0;
}
