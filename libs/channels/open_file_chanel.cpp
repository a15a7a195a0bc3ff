#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "channels/picture_file.h"
#include "channels/raster_loader.h"
#include "platform/file_channel.h"

namespace quillbay {
namespace {

class CPageLines final : public CKxUnknownImpl<IKxPageLines> {
 public:
  explicit CPageLines(std::shared_ptr<PictureFile> file)
      : m_file(std::move(file)), m_picture(m_file->picture()), m_opened(m_file->opened()) {}

  KxColorSpace GetColorSpace() override { return static_cast<KxColorSpace>(m_picture.color_space); }
  KxSize GetSize() override { return {m_picture.width, m_picture.height}; }
  std::uint32_t GetResolution() override { return m_picture.dpi; }
  int GetOrientation() override { return m_picture.orientation; }
  int GetPalette(KXRGBQUAD* out) override {
    std::memcpy(out, m_picture.palette, static_cast<std::size_t>(m_picture.palette_count) * sizeof *out);
    return m_picture.palette_count;
  }
  void ReadLine(std::uint8_t* out) override {
    if (m_opened != m_file->opened())
      throw CXIFaceException(m_file->path() + ": another page was opened meanwhile");
    if (m_next == m_picture.height)
      throw CXIFaceException(m_file->path() + ": there is no line after the last one");
    m_file->readLine(out);
    ++m_next;
  }

 private:
  const std::shared_ptr<PictureFile> m_file;
  const QbPicture m_picture;
  const int m_opened;
  std::int32_t m_next = 0;
};

class COpenFileChanel final : public CKxUnknownImpl<IKxFileChanel, IKxRasterLoadFileChanel> {
 public:
  explicit COpenFileChanel(const std::string& fileName) : m_file(std::make_shared<PictureFile>(fileName)) {}

  std::string GetFileName() override { return m_file->path(); }
  void SetTarget(const PageTarget&) override {}
  int Commit() override { throw CXIFaceException(m_file->path() + " was opened for reading"); }
  int IsWritten() override { return 0; }
  void Abandon() override {}

  int GetPageCount() override { return m_file->pageCount(); }
  KxPtr<IRStor> Load(int page, IProgress* progress) override { return loadPage(*m_file, page, progress); }
  KxPtr<IKxPageLines> OpenLines(int page) override {
    m_file->openPage(page);
    return KxPtr<IKxPageLines>::adopt(new CPageLines(m_file));
  }

 private:
  const std::shared_ptr<PictureFile> m_file;
};

}  // namespace

KxPtr<IKxFileChanel> new_OpenFileChanel(IIOParams*, const std::string& fileName) {
  return KxPtr<IKxFileChanel>::adopt(new COpenFileChanel(fileName));
}

}  // namespace quillbay
