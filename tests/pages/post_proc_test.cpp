#include "pages/post_proc.h"

#include <gtest/gtest.h>

#include <QTest>
#include <QtWidgets>

#include "platform/base_services.h"
#include "quillbay/app.h"
#include "quillbay/host_files.h"
#include "support/panel_world.h"

namespace quillbay {
namespace {

/// A folder of a test's parameters.
KxPtr<IParam> failure(bool dontProcess, const char* reason = "why") {
  auto set = new_MemParam();
  if (dontProcess) set->SetValue("DontProcessErrors", 1);
  set->SetValue("Error", reason);
  return set;
}

TEST(ErrorFiles, ListsNamesByFolder) {
  CErrorFiles files("Unprocessed files");
  EXPECT_TRUE(files.add("/out/a.tif", nullptr, false, "/Out/"));
  EXPECT_TRUE(files.add("b.tif", failure(false).get(), false, "/OUT/"));
  EXPECT_TRUE(files.add("/other/c.tif", nullptr, false, "/other/"));
  EXPECT_FALSE(files.add("d.tif", failure(true).get(), false, "/out/"));
  EXPECT_FALSE(files.add("e.tif", nullptr, true, "/out/"));
  ASSERT_EQ(files.items().size(), 2U);
  EXPECT_EQ(files.items()[0].directory, "/Out/");
  EXPECT_EQ(files.items()[0].files, "a.tif,b.tif");
  EXPECT_EQ(files.items()[1].files, "c.tif");
  CErrorFiles nameless;
  EXPECT_FALSE(nameless.add("a.tif", nullptr, false, "/out/"));
}

TEST(StepCounter, StartsAgainAt500) {
  StepCounter counter;
  counter.set(498);
  EXPECT_EQ(counter.step(), 499);
  EXPECT_EQ(counter.step(), 0);
}

/// A host whose registrations say when they come and go.
class NotedServices final : public CKxUnknownImpl<IScriptServices> {
 public:
  template <class I>
  class Point final : public CKxUnknownImpl<IConnectionPoint<I>> {
   public:
    Point(std::vector<std::string>* notes, const char* name) : m_notes(notes), m_name(name) {}
    int Subscribe(I* sink) override {
      m_notes->push_back(std::string("+") + m_name);
      return m_point->Subscribe(sink);
    }
    int Unsubscribe(I* sink) override {
      m_notes->push_back(std::string("-") + m_name);
      return m_point->Unsubscribe(sink);
    }
    int IsSubscribed(I* sink) override { return m_point->IsSubscribed(sink); }
    KxPtr<IConnectionEnum<I>> Enumerate() override { return m_point->Enumerate(); }

   private:
    std::vector<std::string>* m_notes;
    const char* m_name;
    KxPtr<TConnectionPointImpl<I>> m_point = KxPtr<TConnectionPointImpl<I>>::adopt(new TConnectionPointImpl<I>);
  };
  template <class I>
  KxPtr<IConnectionPoint<I>> make(const char* name) {
    return KxPtr<IConnectionPoint<I>>::adopt(new Point<I>(&notes, name));
  }
  KxPtr<IConnectionPoint<IScriptLogSink>> GetLogs() override { return logs; }
  KxPtr<IConnectionPoint<IScriptProgressFactory>> GetProgressFactories() override { return factories; }
  KxPtr<IConnectionPoint<IScriptErrorSink>> GetErrorCollectors() override { return collectors; }
  KxPtr<IConnectionPoint<IScriptRunner>> GetRunners() override { return runners; }

  std::vector<std::string> notes;
  KxPtr<IConnectionPoint<IScriptLogSink>> logs = make<IScriptLogSink>("log");
  KxPtr<IConnectionPoint<IScriptProgressFactory>> factories = make<IScriptProgressFactory>("progress");
  KxPtr<IConnectionPoint<IScriptErrorSink>> collectors = make<IScriptErrorSink>("errors");
  KxPtr<IConnectionPoint<IScriptRunner>> runners = make<IScriptRunner>("runner");
};

/// An application of somebody else: scripts run at once, and a profile is all there is besides.
class PlainApp final : public CKxUnknownImpl<IApp> {
 public:
  explicit PlainApp(IApp* own) : m_own(own) {}
  std::string GetProductName() override { return "plain"; }
  int QueryInterface(const std::type_info& wanted, void** out) override {
    if (wanted == typeid(IScriptServices)) return services->QueryInterface(wanted, out);
    if (wanted == typeid(IProfile) || (wanted == typeid(IFileDialogs) && hasDialogs))
      return m_own->QueryInterface(wanted, out);
    return CKxUnknownImpl::QueryInterface(wanted, out);
  }
  KxPtr<NotedServices> services = KxPtr<NotedServices>::adopt(new NotedServices);
  bool hasDialogs = true;

 private:
  IApp* m_own;
};

struct PostWorld : test::PanelWorld {
  PostWorld() {
    params->setApp(plain.get());
    page = new CPostProc(controller, params);
    page->Create(&window, kAllModes);
    plain->services->notes.clear();
    controller.onCommand = [this](const std::string& command, IParam*) {
      notes().push_back(command);
      if (onRun) onRun();
    };
  }
  ~PostWorld() {
    delete page;
    params->setApp(app.get());
  }
  PostWorld(const PostWorld&) = delete;
  PostWorld& operator=(const PostWorld&) = delete;
  std::vector<std::string>& notes() { return plain->services->notes; }
  void load(int use, const char* name) const {
    const auto set = new_MemParam();
    set->SetValue("m_fUseScript", use);
    set->SetValue("m_ScriptName", name);
    page->Load(set.get());
  }
  template <class T>
  T* find(int id) const {
    return page->control<T>(id);
  }
  template <class T>
  T* named(const char* name) const {
    return page->findChild<T*>(name);
  }
  template <class I>
  KxPtr<I> registered(const KxPtr<IConnectionPoint<I>>& point) {
    return point->Enumerate()->Next();
  }
  [[nodiscard]] CKxVariant directory() const {
    const auto section = KxPtr<IParam>::adopt(app.as<IProfile>()->GetSection("indexing", 1));
    const auto last = KxPtr<IParam>::adopt(section->GetSubStore("LastOutputDirectory", 1));
    return paramValue(last.get(), "Directory");
  }
  KxPtr<PlainApp> plain = KxPtr<PlainApp>::adopt(new PlainApp(app.get()));
  QWidget window;
  CPostProc* page = nullptr;
  std::function<void()> onRun;
};

const std::vector<std::string> kWholeRun{"+log",    "+progress", "+errors", "Autocorrect",
                                         "-errors", "-progress", "-log"};

TEST(PostProc, RegistersForTheRunAlone) {
  PostWorld w;
  w.load(1, "");
  w.page->RunPostProcessing();
  w.load(0, "a.kxf");
  w.page->RunPostProcessing();
  EXPECT_TRUE(w.notes().empty()) << "no script, or none to run";
  w.load(1, "a.kxf");
  w.onRun = [&] {
    EXPECT_EQ(*w.directory().get<std::string>(), w.params->values().dir);
    const auto log = w.registered(w.plain->services->logs);
    log->Line("one\n");
    log->Line("two\n");
    EXPECT_TRUE(w.named<QPushButton>("cancel")->isEnabled());
    const auto errors = w.registered(w.plain->services->collectors);
    errors->FileFailed("/out/a.tif", failure(false, "no lines").get(), 0);
    errors->FileFailed("/out/b.tif", failure(true).get(), 0);
  };
  w.page->RunPostProcessing();
  EXPECT_EQ(w.notes(), kWholeRun);
  EXPECT_TRUE(w.directory().isEmpty());
  EXPECT_EQ(w.named<QPlainTextEdit>("log")->toPlainText(), "one\ntwo\n");
  EXPECT_EQ(logFieldText("one\ntwo\n"), "one\r\ntwo\r\n");
  EXPECT_FALSE(w.named<QPushButton>("cancel")->isEnabled());
  auto* list = w.named<QListWidget>("files");
  ASSERT_EQ(list->count(), 1);
  EXPECT_EQ(list->item(0)->text(), "a.tif\nno lines");
  EXPECT_EQ(w.page->errorFiles().items().size(), 1U);
}

TEST(PostProc, LeavesTheHostWhenItThrows) {
  PostWorld w;
  w.load(1, "a.kxf");
  w.onRun = [] { throw CXException("the host is out of paper clips"); };
  w.page->RunPostProcessing();
  EXPECT_EQ(w.notes(), kWholeRun);
  EXPECT_TRUE(w.directory().isEmpty());
  ASSERT_EQ(w.messages.size(), 1U);
  EXPECT_EQ(w.messages[0].text, "the host is out of paper clips");
}

TEST(PostProc, CountsStepsAndIsCancelledByItsButton) {
  PostWorld w;
  w.load(1, "a.kxf");
  w.page->show();
  w.window.show();
  w.onRun = [&] {
    const auto factory = w.registered(w.plain->services->factories);
    const auto progress = KxPtr<IProgress>::adopt(factory->CreateProgress("a"));
    auto* bar = w.find<QProgressBar>(CPostProc::kProgress);
    for (int i = 0; i < 499; ++i) progress->Step();
    EXPECT_EQ(bar->value(), 499);
    progress->Step();
    EXPECT_EQ(bar->value(), 0);
    EXPECT_EQ(progress->IsCancelled(), 0);
    // A key for another window waits for the end of the step; Cancel does not.
    QLineEdit other;
    QCoreApplication::postEvent(&other, new QKeyEvent(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, "a"));
    QTimer::singleShot(0, w.page, [&] { w.named<QPushButton>("cancel")->click(); });
    progress->Step();
    EXPECT_EQ(progress->IsCancelled(), 1);
    EXPECT_EQ(other.text(), "");
    QCoreApplication::processEvents();
    EXPECT_EQ(other.text(), "a");
  };
  w.page->RunPostProcessing();
}

TEST(PostProc, MayBeClosedInAStep) {
  PostWorld w;
  w.load(1, "a.kxf");
  w.onRun = [&] {
    const auto progress = KxPtr<IProgress>::adopt(w.registered(w.plain->services->factories)->CreateProgress("a"));
    QTimer::singleShot(0, w.page, [&] { delete std::exchange(w.page, nullptr); });
    progress->Step();
    EXPECT_EQ(progress->IsCancelled(), 1) << "a script on this thread ends with its page";
  };
  w.page->RunPostProcessing();
  EXPECT_EQ(w.page, nullptr);
  EXPECT_TRUE(w.directory().isEmpty());
}

TEST(PostProc, FieldsFollowTheBox) {
  PostWorld w;
  w.load(0, "a.kxf");
  auto* name = w.find<QLineEdit>(CPostProc::kScriptName);
  auto* label = w.find<QLabel>(CPostProc::kFilesLabel);
  EXPECT_FALSE(name->isEnabled());
  EXPECT_FALSE(label->isEnabled());
  auto* tools = w.page->findChild<QToolBar*>();
  EXPECT_EQ(qobject_cast<QToolButton*>(tools->widgetForAction(tools->actions().front()))->text(), "...")
      << "it can be seen";
  w.find<QCheckBox>(CPostProc::kUseScript)->click();
  EXPECT_TRUE(name->isEnabled());
  EXPECT_TRUE(label->isEnabled());
  EXPECT_EQ(name->text().toStdString(), Supp_Translate("Autocortect"));
  const auto runner = w.registered(w.plain->services->runners);
  EXPECT_EQ(runner->GetScript(), "") << "the host's own";
  w.chosenFile = "/scripts/mine.kxf";
  w.page->OnCommand(CPostProc::kBrowse, kCodeClicked, 0);
  EXPECT_EQ(w.askedChannel, "ScriptFiles");
  EXPECT_EQ(runner->GetScript(), "/scripts/mine.kxf");
  w.plain->hasDialogs = false;
  w.page->OnCommand(CPostProc::kBrowse, kCodeClicked, 0);
  const auto set = new_MemParam();
  w.page->Save(set.get());
  EXPECT_EQ(paramInt(set.get(), "m_fUseScript"), 1);
  EXPECT_EQ(paramString(set.get(), "m_ScriptName"), "/scripts/mine.kxf");
  w.page->Enable(0);
  EXPECT_FALSE(name->isEnabled());
  EXPECT_TRUE(w.page->isEnabled()) << "a run can be cancelled while pages are scanned";
}

TEST(PostProc, TriesFilesAgain) {
  PostWorld w;
  w.load(1, "a.kxf");
  const auto fail = [&](const char* file) {
    w.registered(w.plain->services->collectors)->FileFailed(file, failure(false).get(), 0);
  };
  w.onRun = [&] { fail("/out/a.tif"), fail("/out/b.tif"), fail("/out/b.tif"); };
  w.page->RunPostProcessing();
  w.onRun = nullptr;
  auto* list = w.named<QListWidget>("files");
  ASSERT_EQ(list->count(), 2);
  std::vector<std::string> opened;
  w.page->openFolder = [&](const std::string& folder) { opened.push_back(folder); };
  list->selectAll();
  w.named<QPushButton>("openFolder")->click();
  EXPECT_EQ(opened, std::vector<std::string>{"/out/"});
  list->clearSelection();
  list->item(0)->setSelected(true);
  QTest::keyClick(list, Qt::Key_Return);
  EXPECT_EQ(w.controller.commands.back(), "ProcessScript");
  const auto& sent = w.controller.lastArguments;
  EXPECT_EQ(paramString(sent.get(), "FileName"), "/out/a.tif");
  EXPECT_EQ(paramInt(sent.get(), "_donthidewindow"), 1);
  EXPECT_EQ(paramInt(sent.get(), "_ignore_command_", -1), 0);
  EXPECT_EQ(list->count(), 1);
  // A host that cannot begin says nothing of the file; what is not to be listed is not, cancelled or not.
  w.controller.refused = "ProcessScript";
  w.onRun = [&] { w.registered(w.plain->services->collectors)->FileFailed("/out/c.tif", failure(true).get(), 1); };
  list->item(0)->setSelected(true);
  w.named<QPushButton>("tryAgain")->click();
  ASSERT_EQ(list->count(), 1);
  EXPECT_EQ(list->item(0)->text(), "b.tif\nwhy");
  EXPECT_EQ(w.controller.pageChanges, 0) << "nothing of it is a setting";
}

}  // namespace
}  // namespace quillbay
