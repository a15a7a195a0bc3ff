#pragma once
#include <gtest/gtest.h>

#include <vector>

#include "platform/base_services.h"
#include "quillbay/formats.h"
#include "temp_folder.h"

namespace quillbay {

/// Events that agree to everything and remember what was said.
class AgreeingEvents final : public CKxUnknownImpl<IEvents> {
 public:
  std::string last;
  int flags = 0;
  int Note(const char*, const char*) override { return 1; }
  int Subject(const char*, const char*) override { return 1; }
  int Finished(int) override { return 1; }
  int Event(int, const char*, int) override { return 7; }
  int Message(int, const char* text, int how, int) override {
    last = text;
    flags = how;
    return 1;
  }
  int AskText(const char*, int, std::string*) override { return 0; }
};

/// A host with its script sink, and the messages that it gave.
class HostTest : public ::testing::Test {
 protected:
  void start(ClearPolicy clear, EventAnswer answers, bool interactive = false) {
    HostOptions options = folder.options();
    options.clear = clear;
    options.interactive = interactive;
    options.onMessage = [this](const HostMessage& message) {
      messages.push_back(message);
      return message.buttons == EventButtons::Ok ? EventAnswer::Ok : answer;
    };
    answer = answers;
    app = New_HostApp(options);
    sink = app.as<IScriptCmdSink>();
  }
  /// A grey raster of 20 x 10 pixels at 100 dpi; its first pixel is black, all others are `value`.
  static KxPtr<IRStor> raster(std::uint8_t value) {
    auto page = new_IRStor(KxColorSpace::Grey, 20, 0, 100);
    page.as<IRStorAddStripe>()->AddLines(0, 0, 10);
    const auto lines = KxPtr<IAccessContext>::adopt(page->GetAccessContext(1, 0));
    std::vector<std::uint8_t> row(20, value);
    for (int y = 9; y >= 0; --y) {
      if (y == 0) row[0] = 0;
      lines->WriteLine(y, 0, 20, row.data());
    }
    return page;
  }
  static int pixel(IRStor* page, int x, int y) {
    std::uint8_t value = 0;
    KxPtr<IAccessContext>::adopt(page->GetAccessContext(0, 0))->ReadLine(y, x, 1, &value);
    return value;
  }
  int add(std::uint8_t value, bool multipage = false) {
    const auto arguments = new_MemParam();
    arguments->SetValue("RStor", raster(value).as<IKxUnknown>());
    arguments->SetValue("FileName", folder.path("given.tif"));
    if (multipage) arguments->SetValue("Multipage", 1);
    return sink->ExecCommand("IntAddRaster", arguments.get());
  }
  int command(const char* name, const std::string& file, const char* key = "FileName") {
    const auto arguments = new_MemParam();
    arguments->SetValue(key, file);
    return sink->ExecCommand(name, arguments.get());
  }
  int saveAs(const std::string& file) { return script("/SaveAs FNAME:\"" + file + "\" _ignore_command_:0\r\n"); }
  /// Runs a script from a file.
  int script(const std::string& text) {
    folder.write("script.kxf", text);
    return command("ProcessScript", folder.path("script.kxf"));
  }
  /// The second sample of every page of a file.
  static std::vector<int> pages(const std::string& file) {
    std::vector<int> values;
    for (int page = 0; page < CountRasterPages(file); ++page) {
      values.push_back(pixel(LoadRasterFile(file, page, nullptr).get(), 1, 0));
    }
    return values;
  }
  void save(const std::string& file, std::uint8_t value) const {
    SaveRasterFile(nullptr, {raster(value)}, folder.path(file), true, nullptr);
  }

  TempFolder folder;
  KxPtr<IHostApp> app;
  KxPtr<IScriptCmdSink> sink;
  std::vector<HostMessage> messages;
  EventAnswer answer = EventAnswer::No;
};

}  // namespace quillbay
