#include <memory>
#include <string>
#include <utility>

#include "channels/module_loader.h"
#include "channels/page_saver.h"
#include "channels/part_registry.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "platform/log_category.h"

namespace quillbay {
namespace {

/// Counts and answers queries as the channel that it is a part of.
template <class Owner, class Interface>
class PartOf : public Interface {
 public:
  explicit PartOf(Owner* owner) : m_owner(owner) {}
  std::uint32_t AddRef() override { return m_owner->AddRef(); }
  std::uint32_t Release() override { return m_owner->Release(); }
  int QueryInterface(const std::type_info& wanted, void** out) override {
    return m_owner->QueryInterface(wanted, out);
  }

 protected:
  Owner* m_owner;
};

/// What a document is called when nobody named it: its file without folder and extension.
std::string titleOf(const std::string& fileName) {
  std::string name = fio::fileNameOf(fileName);
  name.resize(name.size() - fio::extensionOf(name).size());
  return name;
}

///           Save                 Commit
///   Ready --------> PageWritten --------> Done
///     |  (0 or throws: Ready)  |            ^
///     +------------------------+- Abandon --+
enum class State { Ready, PageWritten, Done };

class CFileChanel final : public CKxUnknownImpl<IKxFileChanel> {
 public:
  CFileChanel(const QbFormat* format, IIOParams* params, std::string fileName)
      : m_format(format),
        m_params(KxPtr<IIOParams>::share(params)),
        m_fileName(std::move(fileName)),
        m_part(PartRegistry::instance().take(m_fileName)) {
    m_joined = m_part && m_part->isBatch();
    if (m_joined) return;
    m_part = nullptr;  // a single page that could not be published: it is renamed like any old part
    if (format->paged && fio::exists(m_fileName)) {
      fio::testWritable(m_fileName);  // the kind of save decides between adding and replacing
      return;
    }
    m_part = createPart(format, m_fileName);
  }

  std::string GetFileName() override { return m_fileName; }

  void SetTarget(const PageTarget& target) override { m_page = target; }

  int Commit() override {
    finishPage();
    const bool last = m_page.isLast || !m_pagedPage;
    if (m_inPlace) {
      m_part->file().sync();
    } else if (!last) {
      m_part->setBatch();
      keep();
    } else {
      publish();
    }
    m_part = nullptr;
    m_state = State::Done;
    return last ? 1 : 0;
  }

  int IsWritten() override { return m_written ? 1 : 0; }

  void Abandon() override {
    try {
      abandon();
    } catch (const std::exception& e) {
      logLine(LogLevel::Error, kChannelsLog, e.what());
    }
  }

  int QueryInterface(const std::type_info& wanted, void** out) override {
    void* found = nullptr;
    if (wanted == typeid(IKxRasterSaveFileChanel)) found = static_cast<IKxRasterSaveFileChanel*>(&m_single);
    if (wanted == typeid(IKxRasterSavePagedChanel) && m_format->paged) {
      found = static_cast<IKxRasterSavePagedChanel*>(&m_paged);
    }
    if (!found) return CKxUnknownImpl::QueryInterface(wanted, out);
    AddRef();
    *out = found;
    return 1;
  }

 private:
  struct SinglePage final : PartOf<CFileChanel, IKxRasterSaveFileChanel> {
    using PartOf::PartOf;
    int AcceptColorSpace(KxColorSpace colorSpace) override { return m_owner->accepts(colorSpace); }
    int Save(IRStor* raster, IProgress* progress) override { return m_owner->save(raster, progress, false); }
  };
  struct PagedPage final : PartOf<CFileChanel, IKxRasterSavePagedChanel> {
    using PartOf::PartOf;
    int AcceptColorSpace(KxColorSpace colorSpace) override { return m_owner->accepts(colorSpace); }
    int Save(IRStor* raster, IProgress* progress) override { return m_owner->save(raster, progress, true); }
    int GetPageCount() override { return m_owner->pageCount(); }
  };

  ~CFileChanel() override {
    if (m_state != State::Done) CFileChanel::Abandon();
  }

  int accepts(KxColorSpace colorSpace) const { return m_format->accepts(static_cast<std::int32_t>(colorSpace)); }

  int pageCount() {
    if (m_state == State::Done) return m_pages;
    openTarget(true);
    return m_part->pageCount();
  }

  void openTarget(bool paged) {
    if (m_part) return;
    m_inPlace = paged && m_page.addsToFile && fio::exists(m_fileName);
    m_part = m_inPlace ? std::make_unique<WritingFile>(m_format, m_fileName, m_fileName, PageFile::Mode::Append)
                       : createPart(m_format, m_fileName);
  }

  int save(IRStor* raster, IProgress* progress, bool paged) {
    if (!raster) throw CXIFaceException(formatText(Supp_Translate("write %s: there is no page"), {m_fileName}));
    if (m_state != State::Ready)
      throw CXIFaceException(
          formatText(Supp_Translate("write %s: the channel has written its page"), {m_fileName}));
    if (m_joined && !paged) {
      throw CXFileException(
          formatText(Supp_Translate("write %s: a running batch writes this file; end it or choose another name"),
                     {m_fileName}),
          m_fileName);
    }
    openTarget(paged);
    const PageRequest request{m_format, m_params.get(), m_fileName, titleOf(m_fileName), m_page.expectedLines,
                              paged};
    const SavedPage saved = savePage(*m_part, request, raster, progress);
    if (saved == SavedPage::Dropped) return 0;
    m_pagedPage = paged;
    m_state = State::PageWritten;
    return static_cast<int>(saved);
  }

  void finishPage() {
    if (m_state != State::PageWritten)
      throw CXIFaceException(formatText(Supp_Translate("write %s: no page was saved"), {m_fileName}));
    m_part->finishPage();
    m_written = true;
    m_pages = m_part->pageCount();
  }

  void publish() {
    try {
      publishPart(*m_part, m_fileName, m_page.mayReplace);
    } catch (...) {
      keep();  // for PublishPart, when the cause is removed
      throw;
    }
  }

  void keep() {
    PartRegistry::instance().keep(m_fileName, std::move(m_part));
    m_state = State::Done;
    m_kept = true;
  }

  void abandon() {
    if (m_state == State::Done) {
      // After a Commit that could not publish: the page is not wanted any more.
      if (!std::exchange(m_kept, false) || m_pagedPage) return;
      m_part = PartRegistry::instance().take(m_fileName);
    }
    m_state = State::Done;
    if (!m_part) return;
    m_part->dropPage();
    if (m_joined) {
      PartRegistry::instance().keep(m_fileName, std::move(m_part));
    } else if (!m_inPlace) {
      deletePart(*m_part);
    }
    m_part = nullptr;
  }

  const QbFormat* m_format;
  KxPtr<IIOParams> m_params;
  std::string m_fileName;
  PageTarget m_page;
  std::unique_ptr<WritingFile> m_part;
  bool m_joined = false;     // the part of a running batch
  bool m_inPlace = false;    // a page added to the file itself
  bool m_pagedPage = false;  // the page was saved as one of several
  bool m_written = false;
  bool m_kept = false;  // the registry has the part
  int m_pages = 0;
  State m_state = State::Ready;
  SinglePage m_single{this};
  PagedPage m_paged{this};
};

}  // namespace

KxPtr<IKxFileChanel> new_FileChanel(IIOParams* params, const std::string& fileName, void*, void*) {
  const QbFormat* format = formatForName(fileName);
  if (!format) {
    throw CXFileException(
        formatText(
            Supp_Translate("write %s: no file format has the extension \"%s\"; choose one of those on offer"),
            {fileName, fio::extensionOf(fileName)}),
        fileName);
  }
  return KxPtr<IKxFileChanel>::adopt(new CFileChanel(format, params, fileName));
}

std::vector<FormatInfo> ListFormats() {
  std::vector<FormatInfo> list;
  for (const QbFormat* format : loadedFormats()) {
    FormatInfo info;
    info.name = format->name;
    info.description = format->description;
    info.paged = format->paged != 0;
    for (const char* const* e = format->extensions; *e; ++e) info.extensions.emplace_back(*e);
    for (const QbOptionInfo* o = format->options; o->key; ++o) {
      FormatOption option{o->key, o->help, {}, o->least, o->most, o->otherwise ? o->otherwise : ""};
      for (const char* const* choice = o->choices; choice && *choice; ++choice)
        option.choices.emplace_back(*choice);
      info.options.push_back(std::move(option));
    }
    list.push_back(std::move(info));
  }
  return list;
}

}  // namespace quillbay
