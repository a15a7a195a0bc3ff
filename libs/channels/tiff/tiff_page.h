#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "channels/codec/band_pipeline.h"
#include "channels/codec/module_support.h"
#include "channels/tiff/tiff_chain.h"
#include "channels/tiff/tiff_plan.h"
#include "channels/tiff/tiff_tags.h"
#include "channels/tiff/tile_pyramid.h"

namespace quillbay {

/// One page on its way into a file: strips or tiles are appended as they come, then the directories of the page and
/// of its levels, and the link to the page's is a patch, the only change to what was there before.
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
  struct Directories {
    std::vector<std::uint8_t> bytes;
    std::uint64_t page = 0, link = 0;  ///< places of the page's directory and of its link to the next one
  };
  void chooseKind(std::int64_t expectedLines);
  void startStrips();
  void startTiles(const QbPage& page);
  void appendPart(std::size_t level, const std::uint8_t* bytes, std::size_t size);
  void appendGathered();
  void align();
  void checkRoom(std::int64_t more) const;
  void finishPixels();
  void listPlainStrips();
  void joinStrips();
  [[nodiscard]] Directories directories(std::uint64_t at, bool big) const;
  void patchLink(std::uint64_t ifd, bool big);

  EdgeFile m_file;
  TiffState m_before;
  TiffPlan m_plan;
  TiffWords m_words;
  bool m_big = false;
  bool m_mayGrow = false;  // into a BigTIFF
  std::int64_t m_lines = 0;
  std::uint64_t m_dataAt = 0;
  std::vector<TiffImage> m_images;  // the page, then its levels
  std::uint64_t m_parts = 0;        // strips or tiles of all of them

  // One of three: strips of several threads; tiles; lines that go as they are, from the stripes' memory to the
  // file.
  std::unique_ptr<BandPipeline> m_pipeline;
  std::unique_ptr<TilePyramid> m_pyramid;
  Band m_gathered;
  std::vector<QbPiece> m_pieces;
};

}  // namespace quillbay
