#pragma once
#include <mutex>
#include <string>

#include "quillbay/app.h"
#include "quillbay/formats.h"

namespace quillbay {

/// The options of the file formats: the saved ones, and over them those of this run. Any thread.
class CIOParams final : public CKxUnknownImpl<IIOParams> {
 public:
  /// `saved` (may be null) holds a sub-store for each format, with its `format_key::Options`; it is copied.
  CIOParams(IParam* saved, std::string software);
  /// The saved ones anew.
  void takeSaved(IParam* saved);
  /// A copy of the format's options, with a reference; empty when none were set.
  IParam* GetFormatOptions(std::string_view format) override;
  [[nodiscard]] std::string GetSoftware() override { return m_software; }

  /// Sets an option for this run. `formats` are those that exist. Returns false with the reason in `*why`.
  bool setOption(const std::vector<FormatInfo>& formats, std::string_view format, std::string_view key,
                 std::string_view value, std::string* why);

 private:
  const std::string m_software;
  std::mutex m_mutex;  // guards what the next two hold
  KxPtr<IParam> m_saved = new_MemParam();
  const KxPtr<IParam> m_options = new_MemParam();  // of this run
};

}  // namespace quillbay
