#pragma once
#include <string>

#include "quillbay/host.h"
#include "support/temp_dir.h"

/// A folder that goes with the test, and a host that keeps everything in it.
class TempFolder : public quillbay::test::TempDir {
 public:
  using TempDir::path;
  [[nodiscard]] std::string path(const std::string& name) const { return file(name); }
  void write(const std::string& name, const std::string& text) const {
    quillbay::test::writeFile(file(name), text);
  }
  [[nodiscard]] std::string read(const std::string& name) const { return quillbay::test::readFile(file(name)); }
  [[nodiscard]] quillbay::HostOptions options() const {
    quillbay::HostOptions o;
    o.configFolder = path("config");
    o.stateFolder = path("state");
    o.interactive = false;
    o.log = quillbay::HostLog::Quiet;
    return o;
  }
};
