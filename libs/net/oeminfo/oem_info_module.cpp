/// The information library of this product; see libs/net/oem_info.h.
#include "quillbay/export.h"
#include "quillbay/host_services.h"

namespace quillbay {

/// Vendor, product and version.
class ProductInfo final : public CKxUnknownImpl<IOemInfo> {
 public:
  std::string GetVendorName() override { return "Quillbay"; }
  std::string GetProductTitle() override { return "Quillbay"; }
  std::uint32_t GetVersion() override { return QUILLBAY_MAJOR | (QUILLBAY_MINOR << 16); }
};

}  // namespace quillbay

extern "C" QUILLBAY_API quillbay::IOemInfo* new_IOemInfo() { return new quillbay::ProductInfo; }
