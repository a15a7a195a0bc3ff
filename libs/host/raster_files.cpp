#include <unistd.h>

#include <cerrno>

#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "quillbay/formats.h"

namespace quillbay {
namespace {

/// The name under which a file grows until it is whole: beside its target, of the same format.
std::string growingName(const std::string& path) {
  const std::string name = fio::fileNameOf(path);
  const std::string extension = fio::extensionOf(path);
  return fio::folderOf(path) + "." + name.substr(0, name.size() - extension.size()) + "-" +
         toText(std::int64_t{::getpid()}) + extension;
}

/// Drops what was written when it was not published.
class Growing {
 public:
  explicit Growing(const std::string& path) : m_name(growingName(path)) {}
  ~Growing() {
    if (m_published) return;
    AbandonPart(m_name);
    ::unlink((m_name + ".part").c_str());  // it may hold finished pages, which nobody wants now
  }
  Growing(const Growing&) = delete;
  Growing& operator=(const Growing&) = delete;
  [[nodiscard]] const std::string& name() const { return m_name; }
  void publish(const std::string& path, bool mayReplace) {
    PublishPartAs(m_name, path, mayReplace);
    m_published = true;
  }

 private:
  const std::string m_name;
  bool m_published = false;
};

/// The channel's saving interface for pages of the raster's colour.
template <class Saving>
KxPtr<Saving> savingOf(const KxPtr<IKxFileChanel>& channel, IRStor* raster, const std::string& path,
                       const char* without) {
  auto saving = channel.as<Saving>();
  if (!saving) throw CXFileException(formatText(Supp_Translate(without), {path}), path);
  if (!saving->AcceptColorSpace(raster->GetColorSpace())) {
    throw CXFileException(
        formatText(Supp_Translate("%s: this format cannot store these colours; choose another format."), {path}),
        path);
  }
  return saving;
}

bool saveOne(IIOParams* io, IRStor* page, const std::string& path, bool mayReplace, IProgress* progress) {
  const auto channel = new_FileChanel(io, path, nullptr, nullptr);
  const auto saving = savingOf<IKxRasterSaveFileChanel>(channel, page, path, "%s: this format cannot be written.");
  PageTarget target;
  target.path = path;
  target.mayReplace = mayReplace;
  target.expectedLines = page->GetHeight();
  channel->SetTarget(target);
  if (!saving->Save(page, progress)) return false;
  channel->Commit();
  return true;
}

bool saveAll(IIOParams* io, const std::vector<KxPtr<IRStor>>& pages, const std::string& path, bool mayReplace,
             IProgress* progress) {
  Growing growing(path);
  for (const auto& page : pages) {
    const auto channel = new_FileChanel(io, growing.name(), nullptr, nullptr);
    const auto saving = savingOf<IKxRasterSavePagedChanel>(
        channel, page.get(), path, "%s: this format has one page to a file; choose another one.");
    PageTarget target;
    target.path = growing.name();
    target.joinsPart = true;
    target.isLast = false;
    target.expectedLines = page->GetHeight();
    channel->SetTarget(target);
    if (!saving->Save(page.get(), progress)) return false;
    channel->Commit();
  }
  growing.publish(path, mayReplace);
  return true;
}

KxPtr<IKxRasterLoadFileChanel> openPicture(const std::string& path) {
  auto loading = new_OpenFileChanel(nullptr, path).as<IKxRasterLoadFileChanel>();
  if (!loading) throw CXFileException(formatText(Supp_Translate("%s contains no picture."), {path}), path);
  return loading;
}

}  // namespace

int CountRasterPages(const std::string& path) { return openPicture(path)->GetPageCount(); }

KxPtr<IRStor> LoadRasterFile(const std::string& path, int page, IProgress* progress) {
  return openPicture(path)->Load(page, progress);
}

int SaveRasterFile(IApp* app, const std::vector<KxPtr<IRStor>>& pages, const std::string& path, bool mayReplace,
                   IProgress* progress) {
  if (pages.empty())
    throw CXFileException(formatText(Supp_Translate("%s: there is no page to save."), {path}), path);
  if (!mayReplace && fio::exists(path)) {
    throw CXFileException(formatText(Supp_Translate("%s exists already."), {path}), path, EEXIST);
  }
  fio::testWritable(path);
  const auto io = query<IIOParams>(app);
  const bool done = pages.size() == 1 ? saveOne(io.get(), pages.front().get(), path, mayReplace, progress)
                                      : saveAll(io.get(), pages, path, mayReplace, progress);
  return done ? 1 : 0;
}

}  // namespace quillbay
