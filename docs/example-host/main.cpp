// A program that embeds the scanning panel: a window with the panel in it, on the simulated scanner; with "--bar"
// the panel comes in a docking bar beside the program's own document. Without a file it waits for a person;
// "example-host [--bar] FILE.tif" scans one page into that file and ends. "example-host --measure [X1 Y1 X2 Y2]"
// shows a sheet instead, on which a person measures a line; coordinates in millimetres are measured at once.
#include <quillbay/choosers.h>
#include <quillbay/control.h>
#include <quillbay/host.h>
#include <quillbay/quillbay.h>
#include <quillbay/view.h>

#include <QApplication>
#include <QFileInfo>
#include <QLabel>
#include <QMainWindow>
#include <cstdio>

namespace qb = quillbay;

namespace example {

// Told about the panel's scans, on the user-interface thread.
class Listener final : public qb::CKxUnknownImplStatic<qb::IQuillbayEvents> {
 public:
  void OnStarted(const qb::ScanStartInfo& info) override {
    std::fprintf(stderr, "scanning to %s\n", info.file.c_str());
  }
  void OnLines(std::int64_t) override {}
  void OnPageFinished(const qb::PageInfo& page) override {
    std::printf("%s: %lld lines at %u dpi\n", page.file.c_str(), static_cast<long long>(page.lines), page.dpi);
  }
  void OnPublished(const std::string&, std::int32_t) override {}
  void OnMessage(const std::string&) override {}
  void OnEnded(qb::EndCause cause, const qb::UnitFault& fault, std::int32_t) override {
    if (!fault.text.empty()) std::fprintf(stderr, "%s\n", fault.text.c_str());
    if (m_quit) QCoreApplication::exit(cause == qb::EndCause::Done ? 0 : 1);
  }
  void quitAtEnd() { m_quit = true; }

 private:
  bool m_quit = false;
};

// Sets a scan parameter; says why when it is refused.
bool set(qb::IQuillbayControl& control, const char* key, const qb::CKxVariant& value) {
  std::string why;
  if (control.SetParam(key, value, &why)) return true;
  std::fprintf(stderr, "%s: %s\n", key, why.c_str());
  return false;
}

// One grey A4 page at 150 dpi into `file`.
bool scanInto(qb::IQuillbayControl& control, const QFileInfo& file) {
  return set(control, qb::key::CurrMode, qb::kModeGrey) && set(control, qb::key::Dpi, 150) &&
         set(control, qb::key::ScanAreaType, qb::kAreaCustom) &&
         set(control, qb::key::RcScan, qb::tagRRECT{0, 0, 210, 297}) &&
         set(control, qb::key::Dir, file.absolutePath().toStdString()) &&
         set(control, qb::key::Mask, file.completeBaseName().toStdString()) &&
         set(control, qb::key::UseAutoCounter, 0) && set(control, qb::key::FileFate, qb::kFateAsk) &&
         control.Start(qb::StartKind::Scan, 1) != 0;
}

// First way in: the panel as a child of a window, wherever the program puts it.
bool openPanel(qb::IHostApp& app, QMainWindow& window, qb::IQuillbaySink** sink) {
  const auto script = qb::query<qb::IScriptCmdSink>(&app);
  QWidget* panel = qb::New_Quillbay(&app, &window, nullptr, script.get(), sink, qb::ScanToFile);
  if (panel) window.setCentralWidget(panel);
  return panel != nullptr;
}

// Second way in: a docking bar that brings a view of its own. It finds the application object by itself, and puts
// itself beside what the main window shows.
bool openBar(qb::IHostApp& app, QMainWindow& window, qb::IQuillbaySink** sink) {
  auto* document = new QLabel("The program's document", &window);
  document->setAlignment(Qt::AlignCenter);
  window.setCentralWidget(document);
  // Asked before the bar closes: false keeps it open.
  app.SetCloseHandler([] { return true; });
  const auto script = qb::query<qb::IScriptCmdSink>(&app);
  return qb::New_QuillbayBar(script.get(), sink, qb::ScanToFile) != nullptr;
}

// Is told how a line is chosen on a view, and prints it.
class LineMeasure final : public qb::CKxUnknownImplStatic<qb::IToolCtxRubberSink> {
 public:
  int PointMoved(qb::IChoose*, int, const qb::CRPoint&) override { return 1; }
  int PointFixed(qb::IChoose*, int, const qb::CRPoint&) override { return 1; }
  int PointTakenBack(qb::IChoose*, int) override { return 1; }
  int Finished(qb::IChoose* choose) override {
    qb::CRLine line;
    if (const auto shape = qb::query<qb::IChooseShape<qb::CRLine>>(choose); shape && shape->GetShape(&line))
      std::printf("%.2f mm\n", line.length());
    QCoreApplication::quit();
    return 1;
  }
  int Cancelled(qb::IChoose*) override {
    QCoreApplication::quit();
    return 1;
  }
};

// Third: a view of the library without the panel. On it a person chooses a line.
int measure(qb::IHostApp& app, const QStringList& numbers) {
  QMainWindow window;
  const auto view = qb::new_ViewPort(&app, &window);
  window.setCentralWidget(view->GetWindow());
  const auto painter = qb::new_RasterPainter(view.get());
  const auto sheet = qb::new_IRStor(qb::KxColorSpace::Grey, 1240, 1754, 150);
  painter->Add(sheet.get(), {0, 0}, 0);
  window.resize(600, 800);
  window.show();
  LineMeasure line;
  const auto tools = qb::new_ToolCtx(&app, view.get());
  const auto choose = qb::KxPtr<qb::IChoose>::adopt(tools->ChooseLine(0, 1, &line));
  if (!choose) return 1;
  // What a person types takes the same way as clicks.
  QMetaObject::invokeMethod(
      &window,
      [&] {
        for (int i = 0; i + 1 < numbers.size(); i += 2)
          choose->FixPoint({numbers[i].toDouble(), -numbers[i + 1].toDouble()});
      },
      Qt::QueuedConnection);
  return QApplication::exec();
}

}  // namespace example

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QStringList arguments = QApplication::arguments().mid(1);
  const bool bar = arguments.removeAll("--bar") > 0;
  const bool measures = arguments.removeAll("--measure") > 0;
  const bool person = arguments.isEmpty();

  // The application object answers everything that the panel asks for.
  qb::HostOptions options;
  options.productName = "Example Host";
  options.interactive = person;
  options.keepSettings = person;
  const auto app = qb::New_HostApp(options);
  if (measures) return example::measure(*app, arguments);
  const auto manager = app.as<qb::IScanManager>();
  std::string why;
  if (!manager->SetCurrent("sim:size=210x297,count=1,seed=3", &why)) {
    std::fprintf(stderr, "%s\n", why.c_str());
    return 2;
  }

  QMainWindow window;
  app->SetMainWindow(&window);
  qb::KxPtr<qb::IQuillbaySink> sink;
  if (!(bar ? example::openBar : example::openPanel)(*app, window, sink.put())) return 2;

  // Further control, and events.
  const auto control = sink.as<qb::IQuillbayControl>();
  example::Listener listener;
  control->Advise(&listener);
  if (person) {
    window.show();
  } else {
    listener.quitAtEnd();
    if (!example::scanInto(*control, QFileInfo(arguments.first()))) return 1;
  }
  const int status = QApplication::exec();
  control->Unadvise(&listener);
  app->SetMainWindow(nullptr);
  return status;
}
