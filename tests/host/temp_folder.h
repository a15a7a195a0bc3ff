#pragma once
#include <QTemporaryDir>
#include <fstream>
#include <sstream>
#include <string>

#include "quillbay/host.h"

/// A folder that goes with the test, and a host that keeps everything in it.
class TempFolder {
 public:
  [[nodiscard]] std::string path(const std::string& name) const {
    return m_dir.filePath(QString::fromStdString(name)).toStdString();
  }
  void write(const std::string& name, const std::string& text) const { std::ofstream(path(name)) << text; }
  [[nodiscard]] std::string read(const std::string& name) const {
    std::stringstream text;
    text << std::ifstream(path(name)).rdbuf();
    return text.str();
  }
  [[nodiscard]] quillbay::HostOptions options() const {
    quillbay::HostOptions o;
    o.configFolder = path("config");
    o.stateFolder = path("state");
    o.interactive = false;
    o.log = quillbay::HostLog::Quiet;
    return o;
  }

 private:
  QTemporaryDir m_dir;
};
