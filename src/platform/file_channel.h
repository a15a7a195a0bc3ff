#pragma once
#include <cstdint>
#include <string>

#include "quillbay/app.h"
#include "quillbay/errors.h"
#include "quillbay/formats.h"
#include "quillbay/raster.h"

namespace quillbay {

/// Saves rasters into a file. Made by `new_FileChanel` for one page (or, paged, for a page of a multi-page file);
/// used on one thread at a time.
///
/// Files: a single page is written as NAME.part beside its target and published by `Commit`. A paged save appends
/// to NAME.part while that belongs to this process's running batch, else to NAME when it exists (in place, old
/// bytes written last), else it starts NAME.part. A NAME.part that a killed program left is never written over: see
/// `SetAsideLeftover`.
class IKxFileChanel : public IKxUnknown {
 public:
  [[nodiscard]] virtual std::string GetFileName() = 0;
  /// Before `Save`: the lines that the page will have, where they are known (0: unknown). A format that must choose
  /// its kind by the page's size (classic TIFF or BigTIFF) asks for it; the page may still end up shorter or
  /// longer.
  virtual void SetExpectedLines(std::int64_t lines) = 0;
  /// The person agreed that an existing file of this name is replaced when the part is published.
  virtual void SetMayReplace(bool mayReplace) = 0;
  /// Flushes, gives the file its final name when the channel holds a NAME.part, and syncs the folder. Never
  /// replaces a file unless `SetMayReplace` allowed it; throws CXFileException then (the part stays).
  virtual void Commit() = 0;
  /// Ends the page and leaves NAME.part, whole, for the next page of the batch. Only paged channels.
  virtual void KeepPart() = 0;
  /// Drops what this channel wrote: the part of a single page is deleted, a page being appended is forgotten and
  /// the file is as it was. Also done by the last release without `Commit` or `KeepPart`. Never throws.
  virtual void Abandon() = 0;
};

/// Saving of one page, queried from the channel.
class IKxRasterSaveFileChanel : public IKxUnknown {
 public:
  /// Non-zero when the format takes rasters of this colour space.
  virtual int AcceptColorSpace(KxColorSpace colorSpace) = 0;
  /// Writes the raster: pulls its lines while line < height (or its stripes, when it is an `IStripeReader`).
  /// Answers 1, or 0 when cancelled by `progress` or abandoned by the raster. Throws CXFileException for what
  /// cannot be written.
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

/// A raster read from a file.
class IKxRasterLoadFileChanel : public IKxUnknown {
 public:
  virtual int GetPageCount() = 0;
  /// Reads page `page` (from 0) as a new raster. Throws CXFileException when it cannot be read.
  virtual KxPtr<IRStor> Load(int page, IProgress* progress) = 0;
};

/// A channel that writes `fileName`; its extension chooses the format. The folder must exist. The last two
/// arguments are null. Throws CXFileException when no module has the format or the file cannot be created.
KxPtr<IKxFileChanel> new_FileChanel(IIOParams* params, const std::string& fileName, void* reserved1,
                                    void* reserved2);

/// A channel that reads `fileName` (its content chooses the format). Throws CXFileException.
KxPtr<IKxFileChanel> new_OpenFileChanel(IIOParams* params, const std::string& fileName);

/// Gives the finished pages of a batch's NAME.part their final name; what `Commit` does, after the fact.
/// Never replaces a file unless `mayReplace`. Throws CXFileException.
void PublishPart(const std::string& fileName, bool mayReplace);

/// The same under another name, for when NAME was taken meanwhile; the folder of `newName` must exist.
void PublishPartAs(const std::string& fileName, const std::string& newName, bool mayReplace);

/// Forgets that a NAME.part belongs to a running batch, and deletes it when it holds no page.
void AbandonPart(const std::string& fileName);

/// When NAME.part exists and no running program writes it, gives it a free name of its own beside it
/// ("NAME.part.1", ...) and answers that name; empty when there is none. Throws CXFileException when a running
/// program writes it.
std::string SetAsideLeftover(const std::string& fileName);

}  // namespace quillbay
