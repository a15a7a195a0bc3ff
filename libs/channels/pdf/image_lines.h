#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "channels/pdf/image_plan.h"

namespace quillbay {

/// Lines of samples as an image has them.
class SampleLines {
 public:
  virtual ~SampleLines() = default;
  /// Reads the next line; `ImagePlan::lineBytes` bytes. Throws ModuleError.
  virtual void read(std::uint8_t* out) = 0;
};
/// Throws ModuleError for a picture that does not fit its plan. Memory is a line's.
[[nodiscard]] std::unique_ptr<SampleLines> makeSampleLines(const EdgeFile& file, const ImagePlan& plan);

/// The lines of an image as the edge has them.
class ImageLines {
 public:
  ImageLines(const EdgeFile& file, const ImagePlan& plan);
  void read(std::uint8_t* out);

 private:
  void convert(std::uint8_t* out) const noexcept;
  [[nodiscard]] unsigned sampleAt(std::size_t i) const noexcept;

  ImagePlan m_plan;
  std::unique_ptr<SampleLines> m_lines;
  std::vector<std::uint8_t> m_samples;
  std::uint8_t m_flip = 0;
};

}  // namespace quillbay
