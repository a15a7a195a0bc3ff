#include "host/script_side.h"

#include <utility>

namespace quillbay {
namespace {

/// Answers for the options of the file formats alone, which are safe on any thread.
class SideApp final : public CKxUnknownImpl<IApp> {
 public:
  explicit SideApp(IApp* app) : m_name(app->GetProductName()), m_io(query<IIOParams>(app)) {}
  std::string GetProductName() override { return m_name; }
  int QueryInterface(const std::type_info& wanted, void** out) override {
    if (wanted == typeid(IIOParams)) return m_io ? m_io->QueryInterface(wanted, out) : 0;
    return CKxUnknownImpl::QueryInterface(wanted, out);
  }

 private:
  const std::string m_name;
  const KxPtr<IIOParams> m_io;
};

/// Answers of the user-interface thread.
class SideCaller {
 public:
  explicit SideCaller(SideCalls& calls) : m_calls(calls) {}

 protected:
  template <class F>
  auto ask(F&& call) const {
    decltype(call()) answer{};
    m_calls.run([&] { answer = call(); });
    return answer;
  }
  SideCalls& m_calls;
};

class SidePages final : public CKxUnknownImpl<IHostPages>, SideCaller {
 public:
  SidePages(KxPtr<IHostPages> pages, SideCalls& calls) : SideCaller(calls), m_pages(std::move(pages)) {}
  int Add(const HostPage& page) override {
    return ask([&] { return m_pages->Add(page); });
  }
  int GetCurrent() override {
    return ask([&] { return m_pages->GetCurrent(); });
  }
  int GetPage(int id, HostPage* out) override {
    return ask([&] { return m_pages->GetPage(id, out); });
  }
  int Replace(int id, IRStor* raster) override {
    return ask([&] { return m_pages->Replace(id, raster); });
  }
  int NoteSaved(int id, const std::string& file) override {
    return ask([&] { return m_pages->NoteSaved(id, file); });
  }
  void NoteOverwritten(const std::string& file) override {
    m_calls.run([&] { m_pages->NoteOverwritten(file); });
  }
  int Remove(int id) override {
    return ask([&] { return m_pages->Remove(id); });
  }
  int CountUnsaved() override {
    return ask([&] { return m_pages->CountUnsaved(); });
  }
  void Clear(int unsavedToo) override {
    m_calls.run([&] { m_pages->Clear(unsavedToo); });
  }

 private:
  const KxPtr<IHostPages> m_pages;
};

/// Hands over a message together with its subject, between which nothing else may come.
class SideEvents final : public CKxUnknownImpl<IEvents>, SideCaller {
 public:
  SideEvents(KxPtr<IEvents> events, SideCalls& calls) : SideCaller(calls), m_events(std::move(events)) {}
  int Note(const char* category, const char* text) override {
    m_calls.post([events = m_events, category = std::string(category), text = std::string(text)] {
      events->Note(category.c_str(), text.c_str());
    });
    return 1;
  }
  int Subject(const char* path, const char* cause) override {
    m_path = path ? path : "";
    m_cause = cause ? cause : "";
    m_hasSubject = true;
    return 1;
  }
  int Finished(int pages) override {
    return ask([&] { return m_events->Finished(pages); });
  }
  int Event(int code, const char* detail, int buttons) override {
    return ask([&] {
      giveSubject();
      return m_events->Event(code, detail, buttons);
    });
  }
  int Message(int kind, const char* text, int flags, int buttons) override {
    return ask([&] {
      giveSubject();
      return m_events->Message(kind, text, flags, buttons);
    });
  }
  int AskText(const char*, int, std::string*) override { return 0; }

 private:
  void giveSubject() {
    if (std::exchange(m_hasSubject, false)) m_events->Subject(m_path.c_str(), m_cause.c_str());
  }
  const KxPtr<IEvents> m_events;
  std::string m_path, m_cause;
  bool m_hasSubject = false;
};

/// What the user-interface thread shows of a progress.
struct ShownProgress {
  KxPtr<IProgress> target;  // user-interface thread
  CancelFlag cancelled;
  std::function<void()> onCancelled;
  std::atomic<int> position{0}, steps{0};
  std::atomic<bool> isPosted{false}, hasPosition{false};

  void show() {
    isPosted = false;
    if (!target) return;
    if (hasPosition.exchange(false)) target->SetPosition(position);
    if (steps.exchange(0) > 0) target->Step();
    if (target->IsCancelled() && !*cancelled) onCancelled();
  }
};

class SideProgress final : public CKxUnknownImpl<IProgress> {
 public:
  SideProgress(std::shared_ptr<ShownProgress> shown, SideCalls& calls)
      : m_shown(std::move(shown)), m_calls(calls) {}
  ~SideProgress() override {
    m_calls.run([&] { m_shown->target = nullptr; });
  }
  void SetText(const char* text) override {
    m_calls.post([shown = m_shown, text = std::string(text)] {
      if (shown->target) shown->target->SetText(text.c_str());
    });
  }
  void Step() override {
    ++m_shown->steps;
    post();
  }
  int SetPosition(int position) override {
    const int before = m_shown->position.exchange(position);
    m_shown->hasPosition = true;
    post();
    return before;
  }
  void Reset() override {
    m_shown->position = 0;
    m_calls.post([shown = m_shown] {
      if (shown->target) shown->target->Reset();
    });
  }
  int IsCancelled() override { return *m_shown->cancelled ? 1 : 0; }

 private:
  /// However often it is set, one update waits.
  void post() {
    if (m_shown->isPosted.exchange(true)) return;
    m_calls.post([shown = m_shown] { shown->show(); });
  }
  const std::shared_ptr<ShownProgress> m_shown;
  SideCalls& m_calls;
};

class SideReports final : public CKxUnknownImpl<IScriptReports>, SideCaller {
 public:
  SideReports(KxPtr<IScriptReports> reports, SideCalls& calls, CancelFlag cancelled,
              std::function<void()> onCancelled)
      : SideCaller(calls),
        m_reports(std::move(reports)),
        m_cancelled(std::move(cancelled)),
        m_onCancelled(std::move(onCancelled)) {}
  void Log(const std::string& line) override {
    m_calls.post([reports = m_reports, line] { reports->Log(line); });
  }
  KxPtr<IProgress> MakeProgress(const std::string& name) override { return MakeSideProgress(name); }
  KxPtr<IProgress> MakeSideProgress(const std::string& name) override {
    auto shown = std::make_shared<ShownProgress>();
    shown->cancelled = m_cancelled;
    shown->onCancelled = m_onCancelled;
    m_calls.run([&] { shown->target = m_reports->MakeSideProgress(name); });
    return KxPtr<IProgress>::adopt(new SideProgress(std::move(shown), m_calls));
  }
  void FileFailed(const std::string& file, IParam* parameters, bool cancelled) override {
    m_calls.run([&] { m_reports->FileFailed(file, parameters, cancelled); });
  }

 private:
  const KxPtr<IScriptReports> m_reports;
  const CancelFlag m_cancelled;
  const std::function<void()> m_onCancelled;
};

}  // namespace

ScriptWorld sideWorld(const ScriptWorld& world, SideCalls& calls, CancelFlag cancelled,
                      std::function<void()> onCancelled) {
  ScriptWorld side = world;
  side.pages = KxPtr<IHostPages>::adopt(new SidePages(world.pages, calls));
  side.events = KxPtr<IEvents>::adopt(new SideEvents(world.events, calls));
  side.app = KxPtr<IApp>::adopt(new SideApp(world.app.get()));
  side.reports = KxPtr<IScriptReports>::adopt(
      new SideReports(world.reports, calls, std::move(cancelled), std::move(onCancelled)));
  side.onDocument = [&calls](const std::function<void()>& work) { calls.run(work); };
  if (world.isListed) {
    side.isListed = [&calls, isListed = world.isListed] {
      bool answer = false;
      calls.run([&] { answer = isListed(); });
      return answer;
    };
  }
  if (world.onSaved) {
    side.onSaved = [&calls, saved = world.onSaved](const std::string& file) { calls.run([&] { saved(file); }); };
  }
  return side;
}

}  // namespace quillbay
