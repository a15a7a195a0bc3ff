#include "destinations/next_name.h"

#include <gtest/gtest.h>

#include <QtWidgets>
#include <condition_variable>
#include <mutex>

#include "widgets/dialog.h"

namespace quillbay {
namespace {

/// A folder that answers when the test lets it.
struct SlowFolder {
  std::mutex mutex;
  std::condition_variable changed;
  int looks = 0, answers = 0;  // begun, and allowed

  OutputName look(const NameContext& context) {
    std::unique_lock lock(mutex);
    const int mine = ++looks;
    changed.notify_all();
    changed.wait(lock, [&] { return answers >= mine; });
    OutputName name;
    name.path = context.values.mask;
    return name;
  }
  void awaitLooks(int count) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return looks >= count; });
  }
  void answer(int count) {
    const std::lock_guard lock(mutex);
    answers = count;
    changed.notify_all();
  }
};

class Listener final : public CDialog {
 public:
  explicit Listener(const std::shared_ptr<SlowFolder>& folder)
      : CDialog(nullptr), finder(this, 1, [folder](const NameContext& c) { return folder->look(c); }) {}
  bool OnCommand(int, int, std::int64_t) override {
    if (const auto name = finder.take()) found.push_back(name->path);
    return true;
  }
  void ask(const std::string& mask) {
    NameContext context;
    context.values.mask = mask;
    finder.ask(context);
  }
  std::vector<std::string> found;
  NextNameFinder finder;
};

TEST(NextName, TheLatestRequestWinsAndNobodyWaitsForAFolder) {
  const auto folder = std::make_shared<SlowFolder>();
  Listener listener(folder);
  listener.ask("first");
  folder->awaitLooks(1);
  listener.ask("second");
  listener.ask("third");  // none of them has waited
  folder->answer(1);
  folder->awaitLooks(2);
  QApplication::processEvents();
  EXPECT_TRUE(listener.found.empty()) << "the answer to an older request is not shown";
  folder->answer(100);
  for (int i = 0; i < 1000 && listener.found.empty(); ++i) {
    QApplication::processEvents();
    QThread::msleep(10);
  }
  EXPECT_EQ(listener.found, std::vector<std::string>{"third"});
  EXPECT_EQ(folder->looks, 2);

  folder->answer(0);
  listener.ask("forgotten");
  folder->awaitLooks(3);
  listener.finder.forget();
  folder->answer(100);
  listener.ask("fourth");
  for (int i = 0; i < 1000 && listener.found.size() < 2; ++i) {
    QApplication::processEvents();
    QThread::msleep(10);
  }
  EXPECT_EQ(listener.found, (std::vector<std::string>{"third", "fourth"}));
}

TEST(NextName, APanelClosesThoughAFolderDoesNotAnswer) {
  const auto folder = std::make_shared<SlowFolder>();
  {
    Listener listener(folder);
    listener.ask("lost");
    folder->awaitLooks(1);
  }
  folder->answer(100);  // its thread finds nobody any more
}

}  // namespace
}  // namespace quillbay
