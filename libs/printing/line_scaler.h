#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace quillbay {

/// Scales lines of bytes as they come: areas are averaged where the picture shrinks; where it grows, pixels are
/// interpolated, or repeated. Each axis by its own factor. Holds two lines; no allocation after the constructor.
/// One thread.
class LineScaler {
 public:
  using Take = std::function<void(const std::uint8_t* line)>;
  /// `channels` bytes a pixel. `scaleY`: lines out for each line in; n lines in give round(n * scaleY), at least 1.
  /// `isSmooth`: interpolates. `take` gets each line, valid during the call.
  LineScaler(int channels, std::int64_t width, std::int64_t outWidth, double scaleY, bool isSmooth, Take take);

  void add(const std::uint8_t* line);
  /// Hands out what depends on lines that do not come any more.
  void finish();

 private:
  /// The pixels of a line that one of the output is made of.
  struct Column {
    std::uint32_t first, last;  // inclusive
    float firstWeight, lastWeight;
    float factor;  // 1 / sum of weights
  };
  template <int channels>
  void scaleAcross(const std::uint8_t* line);
  void across(const std::uint8_t* line);
  void addArea();
  void addBetween();
  void hand(const float* line, float factor);
  void handMix(float weightOfNew);

  const int m_channels;
  const double m_scaleY, m_ratio;  // ratio: lines in for each line out
  const bool m_isSmooth, m_shrinksAcross, m_shrinksAlong;
  const Take m_take;
  std::size_t m_samples;
  std::vector<Column> m_columns;
  std::vector<float> m_now, m_before;
  std::vector<std::uint8_t> m_out;
  std::int64_t m_linesIn = 0, m_linesOut = 0;
  double m_weight = 0;  // of what m_before has gathered, where lines are averaged
};

}  // namespace quillbay
