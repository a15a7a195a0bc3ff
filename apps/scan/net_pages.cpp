#include "net_pages.h"

#include <algorithm>
#include <chrono>

#include "failure.h"
#include "interrupts.h"
#include "names.h"
#include "translated.h"

namespace net_pages {

namespace {

using quillbay::HotFolderState;
using quillbay::NetClient;
using quillbay::NetPage;

constexpr int kWaitSeconds = 30;
constexpr int kSliceMs = 200;
constexpr int kProbeMs = 3000;

QString netText(const std::string& s) { return QString::fromStdString(s); }

std::vector<std::string> textsOf(const std::vector<NetClient>& clients) {
  std::vector<std::string> texts;
  texts.reserve(clients.size());
  for (const NetClient& client : clients) texts.push_back(client.text);
  return texts;
}

bool isNamed(const NetClient& client, const QString& name) {
  const auto same = [&](const std::string& text) { return netText(text).compare(name, Qt::CaseInsensitive) == 0; };
  return same(client.text) || same(client.path) || same(client.path.substr(2));
}

const char* nameOf(HotFolderState::Fate fate) {
  switch (fate) {
    case HotFolderState::Ready: return "ready";
    case HotFolderState::Away: return "away";
    case HotFolderState::Refuses: break;
  }
  return "refuses";
}

void listClients(const ScanOptions& options, Reporter& reporter) {
  std::string folder;
  HotFolderState state;
  for (const NetClient& client : quillbay::ListNetClients()) {
    if (folder != client.hotFolder) state = quillbay::TryHotFolder(client.hotFolder, client.mountPoint, kProbeMs);
    folder = client.hotFolder;
    if (options.json) {
      reporter.json({{"event", "client"},
                     {"client", netText(client.text)},
                     {"path", netText(client.path)},
                     {"folder", netText(client.hotFolder)},
                     {"state", nameOf(state.fate)},
                     {"why", netText(state.why)},
                     {"freeBytes", static_cast<qint64>(state.freeBytes)}});
      continue;
    }
    const std::string said = state.fate == HotFolderState::Ready ? translated("ready") : state.why;
    reporter.line(client.text + '\t' + client.hotFolder + '\t' + said);
  }
}

void setUp(const ScanOptions& options, Reporter& reporter) {
  quillbay::NetServer server = quillbay::GetNetServer();
  if (options.netFolder) server.hotFolder = *options.netFolder;
  const auto find = [&](const std::string& name) {
    return std::find_if(server.clients.begin(), server.clients.end(), [&](const std::string& known) {
      return netText(known).compare(netText(name), Qt::CaseInsensitive) == 0;
    });
  };
  for (const std::string& name : options.removeClients) {
    const auto known = find(name);
    if (known == server.clients.end())
      throw Failure(kUsage, translated("--remove-client \"%s\": there is no such client; %s",
                                       {name, names::allowed(server.clients, name, "--list-clients")}));
    server.clients.erase(known);
  }
  for (const std::string& name : options.addClients)
    if (find(name) == server.clients.end()) server.clients.push_back(name);
  std::string why;
  if (!quillbay::SetNetServer(server, &why)) throw Failure(kUsage, why);
  if (server.hotFolder.empty()) {
    reporter.note(translated("the scan server has no hot folder yet; set it with --net-folder"));
  } else if (server.clients.empty()) {
    reporter.note(translated("the scan server has no clients yet; add some with --add-client"));
  } else {
    const HotFolderState state = quillbay::TryHotFolder(server.hotFolder, {}, kProbeMs);
    if (state.fate != HotFolderState::Ready)
      reporter.note(translated("the hot folder %s cannot take pages now: %s", {server.hotFolder, state.why}));
  }
}

}  // namespace

NetClient clientOf(const ScanOptions& options) {
  const std::vector<NetClient> clients = quillbay::ListNetClients();
  if (clients.empty())
    throw Failure(kUsage, translated("--to net: no scan server is set up; use --net-folder and --add-client"));
  if (options.client.empty()) {
    if (clients.size() == 1) return clients.front();
    throw Failure(kUsage, translated("--to net: there are several clients; choose one with --client: %s",
                                     {names::joined(textsOf(clients))}));
  }
  const QString name = netText(options.client);
  const auto found =
      std::find_if(clients.begin(), clients.end(), [&](const NetClient& client) { return isNamed(client, name); });
  if (found != clients.end()) return *found;
  throw Failure(kUsage,
                translated("--client \"%s\": there is no such client; %s",
                           {options.client, names::allowed(textsOf(clients), options.client, "--list-clients")}));
}

Sending::Sending(const ScanOptions& options, Reporter& reporter)
    : m_reporter(reporter),
      m_waitMs(options.netWait.value_or(kWaitSeconds) * 1000),
      m_queue(options.toNet || options.action == ScanOptions::Action::Deliver
                  ? quillbay::OpenNetQueue()
                  : quillbay::KxPtr<quillbay::INetQueue>{}) {}

int Sending::finish(int status) const {
  if (!m_queue) return status;
  using Clock = std::chrono::steady_clock;
  std::vector<NetPage> waiting = m_queue->GetPages();
  const auto tellSent = [&] {
    const std::vector<NetPage> left = m_queue->GetPages();
    for (const NetPage& page : waiting) {
      const bool waits =
          std::any_of(left.begin(), left.end(), [&](const NetPage& other) { return other.id == page.id; });
      if (waits) continue;
      const std::string name = m_queue->GetHandedName(page.id);
      m_reporter.published(name.empty() ? page.file : name, 1);
    }
    waiting = left;
  };
  for (const auto end = Clock::now() + std::chrono::milliseconds(m_waitMs); Clock::now() < end;) {
    if (m_queue->Wait(kSliceMs) == 0 || Interrupts::number() != 0) break;
    tellSent();
    const bool allStuck = std::all_of(waiting.begin(), waiting.end(),
                                      [](const NetPage& page) { return page.state == NetPage::Stuck; });
    if (allStuck) break;
  }
  tellSent();
  for (const NetPage& page : waiting) {
    m_reporter.error(
        translated("%s waits: %s. It is kept in %s; --deliver hands it off later",
                   {page.file, page.why.empty() ? translated("it is being sent") : page.why, page.kept}));
  }
  return waiting.empty() || status != kDone ? status : static_cast<int>(kOutput);
}

std::optional<int> runAction(const ScanOptions& options, Reporter& reporter,
                             const std::function<quillbay::KxPtr<quillbay::IHostApp>()>& open) {
  using Action = ScanOptions::Action;
  const bool isMine = options.action == Action::ListClients || options.action == Action::SetUpNet ||
                      options.action == Action::Deliver;
  if (!isMine) return std::nullopt;
  const auto app = open();  // formats of pages that a killed program left
  if (options.action == Action::ListClients) listClients(options, reporter);
  if (options.action == Action::SetUpNet) setUp(options, reporter);
  if (options.action != Action::Deliver) return kDone;
  const Sending sending(options, reporter);
  return sending.finish(kDone);
}

}  // namespace net_pages
