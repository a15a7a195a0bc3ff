#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "channels/codec/band_pipeline.h"
#include "channels/codec/module_support.h"
#include "channels/tiff/strip_encoders.h"
#include "channels/tiff/tiff_chain.h"

namespace quillbay {

/// The options of the TIFF format, ended by a null key, and their places in it.
extern const QbOptionInfo kTiffOptions[];

/// One page on its way into a file: strips are appended as they come, then the directory, and the link to it is a
/// patch, the only change to what was there before.
/// The first page of a file chooses its kind. Where that is left to the program, a page that outgrows a classic
/// TIFF becomes a BigTIFF at its end: its header is written last, in room that was kept.
class TiffPage {
 public:
  /// Throws ModuleError for a page that cannot be written; nothing was appended then.
  TiffPage(const EdgeFile& file, const TiffState& before, const QbPage& page, const QbOptions* options);
  void write(const QbBlock& block);
  /// Returns the file's state with this page.
  TiffState finish();

 private:
  enum class Kind { Auto, Classic, Big };
  void chooseFormat(const QbPage& page, const QbOptions* options);
  void chooseKind(const QbPage& page, const QbOptions* options);
  void startEncoder();
  void appendStrip(const std::uint8_t* bytes, std::size_t size);
  void appendGathered();
  void checkRoom(std::int64_t more) const;
  void listStrips(std::vector<std::uint64_t>* offsets, std::vector<std::uint64_t>* sizes) const;
  [[nodiscard]] std::vector<std::uint8_t> directory(std::uint64_t at, bool big, std::uint64_t* ifd,
                                                    std::uint64_t* link) const;
  void describePicture(class TiffDirectory& tags) const;
  void patchLink(std::uint64_t ifd, bool big);

  EdgeFile m_file;
  TiffState m_before;
  StripFormat m_format;
  bool m_big = false;
  bool m_mayGrow = false;  // into a BigTIFF
  bool m_paged;
  std::uint32_t m_dpi;
  std::string m_software, m_dateTime;
  std::vector<std::uint16_t> m_colorMap;
  std::int32_t m_stripLines = 1;
  std::int64_t m_lines = 0;
  std::uint64_t m_dataAt = 0;

  // Compressed: strip by strip.
  std::unique_ptr<BandPipeline> m_pipeline;
  std::vector<std::uint64_t> m_stripOffsets, m_stripSizes;
  // Lines that go as they are: from the stripes' memory to the file.
  Band m_gathered;
  std::vector<QbPiece> m_pieces;
};

}  // namespace quillbay
