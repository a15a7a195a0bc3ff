#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/page_target.h"
#include "quillbay/app.h"
#include "quillbay/errors.h"
#include "quillbay/formats.h"
#include "quillbay/raster.h"

namespace quillbay {

/// Saves rasters into a file. Made by `new_FileChanel` for one page (or, paged, for a page of a multi-page file);
/// used on one thread at a time.
///
/// Files: a single page is written as NAME.part beside its target and published by `Commit`. A paged save appends
/// to NAME.part while that belongs to this process's running batch, else to NAME when the target says so and it
/// exists (in place, old bytes written last), else it starts NAME.part. A NAME.part that a killed program left is
/// never written over: see `SetAsideLeftover`.
class IKxFileChanel : public IKxUnknown {
 public:
  [[nodiscard]] virtual std::string GetFileName() = 0;
  /// Before `Save`: how the page's file ends (its path is this channel's file name). Until then the page is the
  /// only one of its file and replaces none. A format that must choose its kind by the page's size (classic TIFF or
  /// BigTIFF) asks for the expected lines.
  virtual void SetTarget(const PageTarget& target) = 0;
  /// Ends the page that was saved. The last page gives a NAME.part its final name, syncs the folder, and returns 1;
  /// it never replaces a file unless the target allows it, and throws CXFileException then (systemError() EEXIST;
  /// the part stays, see `PublishPart`). After any other page of a paged channel NAME.part stays, whole, for the
  /// next one: 0.
  virtual int Commit() = 0;
  /// Non-zero once the page is whole on the disk, in its file or in NAME.part, also when `Commit` threw then.
  virtual int IsWritten() = 0;
  /// Drops what this channel wrote: the part of a single page is deleted, a page being appended is forgotten and
  /// the file is as it was. Also done by the last release without `Commit`. Never throws.
  virtual void Abandon() = 0;
};

/// Saving of one page, queried from the channel.
class IKxRasterSaveFileChanel : public IKxUnknown {
 public:
  /// Non-zero when the format takes rasters of this colour space.
  virtual int AcceptColorSpace(KxColorSpace colorSpace) = 0;
  /// Writes the raster: pulls its lines while line < height (or its stripes, when it is an `IStripeReader`).
  /// Returns 1; 2 when the page was ended where the format holds no more lines, its end being lost; or 0 when
  /// cancelled by `progress` or abandoned by the raster. Throws CXFileException for what cannot be written.
  virtual int Save(IRStor* raster, IProgress* progress) = 0;
};

/// Saving of one page of a multi-page file, queried from the channel; absent where the format has one page.
class IKxRasterSavePagedChanel : public IKxUnknown {
 public:
  virtual int AcceptColorSpace(KxColorSpace colorSpace) = 0;
  virtual int Save(IRStor* raster, IProgress* progress) = 0;
  /// Pages in the file so far, this one not counted before it is saved.
  virtual int GetPageCount() = 0;
};

/// The lines of a page in the order of its file, read one after another: nothing is held of those before.
class IKxPageLines : public IKxUnknown {
 public:
  /// Bitonal (lines are packed pixels: bit 7 leftmost, 1 is black), Palette, Grey or Rgb.
  virtual KxColorSpace GetColorSpace() = 0;
  /// Pixels of a line, and lines, as they come.
  virtual KxSize GetSize() = 0;
  /// Dots per inch; 0 when the file does not tell.
  virtual std::uint32_t GetResolution() = 0;
  /// How the lines lie on the page, 1 to 8 as TIFF counts: 1 top line first, left pixel first.
  virtual int GetOrientation() = 0;
  /// Copies the palette to `out` (256 entries). Returns its count, 0 where there is none.
  virtual int GetPalette(KXRGBQUAD* out) = 0;
  /// Reads the next line: (width + 7) / 8 bytes for Bitonal, else `fixedLineBytes`. Throws CXFileException for a
  /// file that is damaged or truncated, CXIFaceException after the last line or when the channel went to another
  /// page.
  virtual void ReadLine(std::uint8_t* out) = 0;
};

/// A raster read from a file.
class IKxRasterLoadFileChanel : public IKxUnknown {
 public:
  virtual int GetPageCount() = 0;
  /// Reads page `page` (from 0) as a new raster, upright whatever the orientation that the file names. `progress`
  /// may be null; its positions go from 0 to `kLoadSteps`, and it is asked every few megabytes. Returns null when
  /// it was cancelled. Throws CXFileException when the page cannot be read; of a truncated file it says what can
  /// be.
  virtual KxPtr<IRStor> Load(int page, IProgress* progress) = 0;
  /// Goes to the first line of page `page`. Throws CXFileException.
  virtual KxPtr<IKxPageLines> OpenLines(int page) = 0;
};

/// A channel that writes `fileName`; its extension chooses the format. The folder must exist. The last two
/// arguments are null. Throws CXFileException when no module has the format or the file cannot be created.
KxPtr<IKxFileChanel> new_FileChanel(IIOParams* params, const std::string& fileName, void* reserved1,
                                    void* reserved2);

/// What the settings tell of a page before it is scanned.
struct ExpectedPage {
  KxColorSpace colorSpace = KxColorSpace::None;
  std::int32_t width = 0;  ///< pixels; 0: unknown
  std::int64_t lines = 0;  ///< 0: unknown
  std::uint32_t dpi = 0;   ///< 0: unknown
  bool joinsPart = false;  ///< a page of a multi-page file
};

/// Why the format of `fileName`, with its options, cannot hold such a page, for a person; empty when nothing is
/// known against it. Writes nothing, so that it can be asked before the paper moves.
std::string RefusalOf(IIOParams* params, const std::string& fileName, const ExpectedPage& page);

/// A channel that reads `fileName` (its content chooses the format). Throws CXFileException.
KxPtr<IKxFileChanel> new_OpenFileChanel(IIOParams* params, const std::string& fileName);

/// Examines the module of an entry of the host's format settings (`format_key`) and notes there what it can write:
/// `format_key::ColorSpaces` and `MultiPage`, or `Exclude` when it offers nothing. Returns 1, or 0 when the module
/// is not there, is none, or failed: nothing is noted then.
int ProbeSaveFormat(std::string_view name, IParam* entry);

/// Gives the finished pages of a batch's NAME.part their final name; what `Commit` does, after the fact.
/// Never replaces a file unless `mayReplace`. Throws CXFileException.
void PublishPart(const std::string& fileName, bool mayReplace);

/// The same under another name, for when NAME was taken meanwhile; the folder of `newName` must exist.
void PublishPartAs(const std::string& fileName, const std::string& newName, bool mayReplace);

/// Gives the finished pages of `part`, which a killed program left of `fileName` under whatever name, the name
/// `newName`; its folder must exist. Throws CXFileException, and nothing has changed then.
void PublishLeftover(const std::string& part, const std::string& fileName, const std::string& newName,
                     bool mayReplace);

/// Forgets that a NAME.part belongs to a running batch, and deletes it when it holds no page.
void AbandonPart(const std::string& fileName);

/// When NAME.part exists and no running program writes it, gives it a free name of its own beside it
/// ("NAME.part.1", ...) and returns that name; empty when there is none. Throws CXFileException when a running
/// program writes it.
std::string SetAsideLeftover(const std::string& fileName);

}  // namespace quillbay
