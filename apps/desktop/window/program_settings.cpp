#include "window/program_settings.h"
#include "quillbay/scan_keys.h"

#include <QFileInfo>
#include <algorithm>

namespace desktop {

using quillbay::KxPtr;

namespace {
constexpr int kMostRecent = 10;
constexpr const char* kWheelStep = quillbay::view_key::WheelScaleStep;
constexpr const char* kRecent = "Recent";
const std::string kScanners = "Scanners";
}  // namespace

void writeFirstDefaults(quillbay::IApp* app) {
  const auto profile = quillbay::query<quillbay::IProfile>(app);
  const auto scroll =
      profile ? KxPtr<quillbay::IParam>::adopt(profile->GetSection(quillbay::section_name::Scroll, 1)) : nullptr;
  if (scroll && quillbay::paramDouble(scroll.get(), kWheelStep) <= 0) scroll->SetValue(kWheelStep, 1.25);
}

ProgramSettings::ProgramSettings(quillbay::IApp* app)
    : m_profile(quillbay::query<quillbay::IProfile>(app)),
      m_section(m_profile ? KxPtr<quillbay::IParam>::adopt(m_profile->GetSection("Desktop", 1)) : nullptr) {
  if (!m_section) m_section = quillbay::new_MemParam();
}

QString ProgramSettings::text(const char* key, const QString& otherwise) const {
  return QString::fromStdString(quillbay::paramString(m_section.get(), key, otherwise.toStdString()));
}

int ProgramSettings::number(const char* key, int otherwise) const {
  return quillbay::paramInt(m_section.get(), key, otherwise);
}

QByteArray ProgramSettings::bytes(const char* key) const { return QByteArray::fromBase64(text(key).toLatin1()); }

void ProgramSettings::setText(const char* key, const QString& value) {
  m_section->SetValue(key, value.toStdString());
}

void ProgramSettings::setNumber(const char* key, int value) { m_section->SetValue(key, value); }

void ProgramSettings::setBytes(const char* key, const QByteArray& value) {
  setText(key, QString::fromLatin1(value.toBase64()));
}

KxPtr<quillbay::IParam> ProgramSettings::scanner(std::string name, bool make) const {
  const auto isDelimiter = [](char c) { return c == '\\' || c == '/'; };
  std::replace_if(name.begin(), name.end(), isDelimiter, '_');  // a delimiter would open a store of its own
  return KxPtr<quillbay::IParam>::adopt(m_section->GetSubStore(kScanners + ("\\" + name), make ? 1 : 0));
}

QStringList ProgramSettings::recent() const {
  QStringList files;
  const auto store = KxPtr<quillbay::IParam>::adopt(m_section->GetSubStore(kRecent, 0));
  for (int i = 0; store && i < kMostRecent; ++i) {
    const QString file = QString::fromStdString(quillbay::paramString(store.get(), "File" + std::to_string(i)));
    if (!file.isEmpty()) files += file;
  }
  return files;
}

void ProgramSettings::setRecent(const QStringList& files) {
  const auto store = KxPtr<quillbay::IParam>::adopt(m_section->GetSubStore(kRecent, 1));
  for (int i = 0; i < kMostRecent; ++i) {
    const std::string key = "File" + std::to_string(i);
    if (i < files.size()) {
      store->SetValue(key, files[i].toStdString());
    } else {
      store->Remove(key);
    }
  }
}

void ProgramSettings::addRecent(const QString& file) {
  const QString whole = QFileInfo(file).absoluteFilePath();
  QStringList files = recent();
  files.removeAll(whole);
  files.prepend(whole);
  setRecent(files.mid(0, kMostRecent));
}

void ProgramSettings::forgetRecent(const QString& file) {
  QStringList files = recent();
  files.removeAll(QFileInfo(file).absoluteFilePath());
  setRecent(files);
}

bool ProgramSettings::save() { return !m_profile || m_profile->Flush() != 0; }

}  // namespace desktop
