#pragma once
#include <QByteArray>
#include <QStringList>
#include <string>

#include "quillbay/app.h"

namespace desktop {

/// Writes what the program wants otherwise than the library where the user has not chosen: how far a step of the
/// wheel zooms.
void writeFirstDefaults(quillbay::IApp* app);

/// What the program remembers between runs, in the section "Desktop" of the host's profile.
class ProgramSettings {
 public:
  explicit ProgramSettings(quillbay::IApp* app);

  [[nodiscard]] QString text(const char* key, const QString& otherwise = {}) const;
  [[nodiscard]] int number(const char* key, int otherwise) const;
  [[nodiscard]] QByteArray bytes(const char* key) const;
  void setText(const char* key, const QString& value);
  void setNumber(const char* key, int value);
  void setBytes(const char* key, const QByteArray& value);
  /// What is kept for a scanner of this name; null when there is nothing and `make` is false.
  [[nodiscard]] quillbay::KxPtr<quillbay::IParam> scanner(std::string name, bool make) const;
  /// The files that were opened or saved, the latest first.
  [[nodiscard]] QStringList recent() const;
  void addRecent(const QString& file);
  void forgetRecent(const QString& file);
  /// Writes it; false when that failed (the host has said why).
  bool save();

 private:
  void setRecent(const QStringList& files);
  quillbay::KxPtr<quillbay::IProfile> m_profile;
  quillbay::KxPtr<quillbay::IParam> m_section;
};

}  // namespace desktop
