#include "fake_channel.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/file_channel.h"

namespace quillbay {
namespace test {

namespace {
ChannelScript* g_script = nullptr;
}

ChannelScript::ChannelScript() { g_script = this; }
ChannelScript::~ChannelScript() { g_script = nullptr; }

// Pulls a page as a format module does.
class FakeChannel final : public CKxUnknownImpl<IKxFileChanel, IKxRasterSaveFileChanel, IKxRasterSavePagedChanel> {
 public:
  FakeChannel(ChannelScript* script, const std::string& path) : m_script(*script) { m_script.path = path; }

  int QueryInterface(const std::type_info& wanted, void** out) override {
    if (wanted == typeid(IKxRasterSaveFileChanel) && !m_script.single) return 0;
    if (wanted == typeid(IKxRasterSavePagedChanel)) {
      if (!m_script.paged) return 0;
      m_script.savedPaged = true;
    }
    return CKxUnknownImpl::QueryInterface(wanted, out);
  }
  std::string GetFileName() override { return m_script.path; }
  void SetTarget(const PageTarget& target) override { m_script.target = target; }
  int Commit() override {
    if (!m_script.commitError.empty()) throw CXFileException(m_script.commitError, m_script.path, EEXIST);
    m_script.fate.push_back("commit");
    return m_script.target.isLast || !m_script.savedPaged ? 1 : 0;
  }
  int IsWritten() override { return 1; }
  void Abandon() override { m_script.fate.push_back("abandon"); }
  int AcceptColorSpace(KxColorSpace) override { return m_script.accepts ? 1 : 0; }
  int GetPageCount() override { return 0; }
  int Save(IRStor* raster, IProgress* progress) override {
    if (progress->IsCancelled()) return 0;
    return m_script.pull == ChannelScript::Pull::Stripes ? saveStripes(raster) : saveLines(raster);
  }

 private:
  bool write(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    const std::int64_t line = m_script.written;
    if (line == m_script.failAtLine) throw CXFileException("no space left on the device", m_script.path, ENOSPC);
    if (line == m_script.endAtLine) return false;
    if (m_script.check) m_script.check(line, bytes);
    if (m_script.keepLines) m_script.lines.emplace_back(bytes, bytes + size);
    ++m_script.written;
    return true;
  }

  int saveLines(IRStor* raster) {
    const auto context = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(0, 0));
    if (!context) throw CXIFaceException("no lines");
    const auto runs = context.as<IARSContext>();
    m_script.palette.resize(static_cast<std::size_t>(context->GetColorCount()));
    context->GetPalette(m_script.palette.data());
    std::vector<std::uint8_t> buffer(fixedLineBytes(raster->GetColorSpace(), raster->GetWidth()));
    for (std::int32_t line = 0; line < raster->GetHeight(); ++line) {
      if (m_script.gate) m_script.gate->wait();
      std::size_t size = buffer.size();
      if (runs) buffer.resize(std::max(buffer.size(), size = runs->GetLineSize(line)));
      const void* bytes = buffer.data();
      if (runs && m_script.pull == ChannelScript::Pull::LinePointers) {
        bytes = runs->GetLinePointer(line);
      } else {
        context->ReadLine(line, 0, raster->GetWidth(), buffer.data());
      }
      if (!write(bytes, size)) return 2;
    }
    return 1;
  }

  int saveStripes(IRStor* raster) {
    const auto reader = query<IStripeReader>(raster);
    KxPtr<IScanBuffer> stripe;
    std::int32_t count = 0;
    while (reader->NextStripe(stripe.put(), &count)) {
      if (m_script.gate) m_script.gate->wait();
      const KxColorSpace colorSpace = stripe->GetColorSpace();
      KxSize size;
      stripe->GetSize(&size);
      for (std::int32_t i = 0; i < count; ++i) {
        const std::uint8_t* line = stripe->GetLine(i);
        const std::size_t bytes = isRunList(colorSpace)
                                      ? runListBytes(runCount(reinterpret_cast<const std::uint32_t*>(line)))
                                      : fixedLineBytes(colorSpace, size.width);
        if (!write(line, bytes)) return 2;
      }
    }
    return reader->WasAbandoned() ? 0 : 1;
  }

  ChannelScript& m_script;
};

}  // namespace test

KxPtr<IKxFileChanel> new_FileChanel(IIOParams* params, const std::string& fileName, void*, void*) {
  if (!params || !test::g_script) return {};
  if (!test::g_script->openError.empty()) throw CXFileException(test::g_script->openError, fileName);
  return KxPtr<IKxFileChanel>::adopt(new test::FakeChannel(test::g_script, fileName));
}

}  // namespace quillbay
