#include "destinations/batch_script.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "platform/base_services.h"

namespace quillbay {

namespace {

[[noreturn]] void fail(const std::string& path, int error) {
  throw CXFileException(
      formatText(Supp_Translate("The batch script %s cannot be written: %s"), {path, fio::errorText(error)}), path,
      error);
}

std::string privateFolder() {
  const char* base = std::getenv("XDG_RUNTIME_DIR");
  if (!base || *base != '/') base = std::getenv("TMPDIR");
  if (!base || *base != '/') base = "/tmp";
  std::string folder = std::string(base) + "/quillbay-XXXXXX";
  if (!mkdtemp(folder.data())) fail(folder, errno);
  return folder;
}

}  // namespace

std::string batchScriptText(const std::string& outputFile) {
  return "/SaveAs FNAME:\"" + outputFile + "\" _ignore_command_:0\r\n";
}

BatchScript::BatchScript(const std::string& outputFile)
    : m_folder(privateFolder()), m_path(m_folder + "/kxbatchtmp.kxf") {
  const std::string text = batchScriptText(outputFile);
  struct Close {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Close> file(std::fopen(m_path.c_str(), "wxe"));
  const bool written =
      file && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() && std::fflush(file.get()) == 0;
  if (written) return;
  const int error = errno;
  file.reset();
  unlink(m_path.c_str());
  rmdir(m_folder.c_str());
  fail(m_path, error);
}

BatchScript::~BatchScript() {
  unlink(m_path.c_str());
  rmdir(m_folder.c_str());
}

}  // namespace quillbay
