// The program is killed in the middle of a batch; its next start brings back every finished page, bit for bit.
#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <set>

#include "desktop_fixture.h"
#include "recovery/session_guard.h"

namespace desktop {
namespace {

constexpr const char* kFolder = "QUILLBAY_TEST_CRASH_FOLDER";
constexpr const char* kRuns = "QUILLBAY_TEST_CRASH_RUNS";
constexpr const char* kToFile = "QUILLBAY_TEST_CRASH_TO_FILE";
constexpr int kManyPages = 60;

QByteArray digestOf(quillbay::IRStor* raster) {
  const std::string bytes = pixels(raster);
  return QCryptographicHash::hash({bytes.data(), qsizetype(bytes.size())}, QCryptographicHash::Sha256).toHex();
}

void say(const QString& text) {
  std::printf("@%s\n", text.toUtf8().constData());
  std::fflush(stdout);
}

class Crash : public DesktopTest {
 protected:
  void openIn(const QString& folder) {
    const std::string path = folder.toStdString();
    window = std::make_unique<MainWindow>(ProgramFolders{path + "/config", path + "/state"});
    window->prompts().unsaved = [](const QStringList&) { return UnsavedAnswer::Discard; };
    window->prompts().message = [this](const quillbay::HostMessage& message) {
      messages += QString::fromStdString(message.text);
      return message.answer;
    };
    window->prompts().recover = [this](const std::vector<Leftover>& found, const QStringList& said) {
      items = found;
      troubles = said;
      RecoveryAnswer answer{RecoveryAnswer::Act::Open, {}};
      for (std::size_t i = 0; i < items.size(); ++i) answer.chosen.push_back(i);
      return answer;
    };
    quillbay::query<quillbay::IScanManager>(window->app())->SetCurrent("sim:size=210x148,count=60,seed=3", nullptr);
    window->start();
  }
  std::vector<Leftover> items;
  QStringList troubles;
};

/// What the killed program does; only run by the test below.
TEST_F(Crash, DISABLED_Child) {
  const QString folder = qEnvironmentVariable(kFolder);
  openIn(folder);
  ASSERT_NE(control(), nullptr);
  if (qEnvironmentVariableIsSet(kToFile)) {
    ASSERT_TRUE(window->setMode(quillbay::ScanToFile));
    set("m_Dir", folder.toStdString());
    set("m_Mask", "all");
    set("m_fMultiPage", 1);
  }
  smallPages();
  QObject::connect(&window->document(), &Document::added, [this](int id) {
    say(QString("arrived %1 %2").arg(id).arg(digestOf(window->document().page(id)->raster.get())));
  });
  QObject::connect(&window->guard().journal(), &SessionJournal::kept,
                   [](int id) { say(QString("kept %1").arg(id)); });
  QObject::connect(&window->panelDock(), &PanelDock::linesArrived, [] { say("lines"); });
  QObject::connect(&window->panelDock(), &PanelDock::pageDone,
                   [](const quillbay::PageInfo& page) { say(QString("finished %1").arg(page.page)); });
  ASSERT_TRUE(control()->Start(quillbay::StartKind::Batch, kManyPages));
  waitFor([] { return false; });
}

TEST_F(Crash, EveryFinishedPageComesBack) {
  const int runs = qEnvironmentVariableIntValue(kRuns) > 0 ? qEnvironmentVariableIntValue(kRuns) : 4;
  std::mt19937 random(7);
  int compared = 0;
  for (int run = 0; run < runs; ++run) {
    SCOPED_TRACE(run);
    const bool toFile = run % 4 == 3;
    const QString folder = QString::fromStdString(dir.file("run" + std::to_string(run)));
    ASSERT_TRUE(QDir().mkpath(folder));
    QProcess child;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(kFolder, folder);
    if (toFile) environment.insert(kToFile, "1");
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(),
                {"--gtest_filter=Crash.DISABLED_Child", "--gtest_also_run_disabled_tests"});
    std::map<QString, QByteArray> arrived;
    std::set<QString> kept;
    int finished = 0, moment = int(random() % 40) + 8;  // in lines of its output
    for (bool killed = false; child.waitForReadyRead(60000) || child.canReadLine();) {
      while (child.canReadLine()) {
        const QStringList words = QString::fromUtf8(child.readLine()).trimmed().split(' ');
        if (words[0] == "@arrived") arrived[words[1]] = words[2].toUtf8();
        if (words[0] == "@kept") kept.insert(words[1]);
        if (words[0] == "@finished") finished = words[1].toInt();
        if (words[0].startsWith('@') && --moment <= 0 && !killed) {
          killed = true;
          child.kill();
        }
      }
    }
    child.waitForFinished(60000);
    ASSERT_EQ(child.exitStatus(), QProcess::CrashExit) << child.readAllStandardError().toStdString();

    openIn(folder);
    std::multiset<QByteArray> back;
    for (const Page& page : pages()) back.insert(digestOf(page.raster.get()));
    compared += int(back.size());
    if (toFile) {
      EXPECT_GE(int(back.size()), finished) << messages.join('\n').toStdString();
      EXPECT_EQ(QFile::exists(folder + "/all.tif"), finished > 0);
    } else {
      for (const QString& id : kept) EXPECT_TRUE(back.count(arrived[id]) > 0) << "page " << id.toStdString();
      std::set<QByteArray> scanned;
      for (const auto& [id, digest] : arrived) scanned.insert(digest);
      const auto isTorn = [&](const QByteArray& page) { return scanned.count(page) == 0; };
      EXPECT_LE(std::count_if(back.begin(), back.end(), isTorn), 1) << "the last one may not have been said";
      EXPECT_EQ(window->document().unsaved().size(), back.size());
    }
    EXPECT_TRUE(messages.isEmpty()) << messages.join('\n').toStdString();
    ASSERT_TRUE(window->close());
    EXPECT_TRUE(QDir(folder + "/state/recovery").isEmpty())
        << QDir(folder + "/state/recovery").entryList().join(' ').toStdString();
    window.reset();
  }
  RecordProperty("pages", compared);
  std::printf("%d runs killed, %d pages compared\n", runs, compared);
}

}  // namespace
}  // namespace desktop
