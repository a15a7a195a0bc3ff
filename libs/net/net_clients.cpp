#include "net/net_clients.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "net/folder_probe.h"
#include "net/oem_info.h"
#include "net/spool.h"
#include "platform/base_services.h"
#include "platform/registry.h"

namespace quillbay {

namespace {

constexpr const char* kOlderServerKey = "Software\\Mrv\\Tw\\SCANserver";
constexpr const char* kNetwork = "Network";
constexpr const char* kUsers = "USERS";
constexpr const char* kHotFolder = "HotFolder";
constexpr const char* kMountPoint = "MountPoint";
constexpr const char* kCurrentLabel = "KX:";
constexpr const char* kOlderLabel = "TW:";

std::string versionText(std::uint32_t version) {
  return toText(std::int64_t{version & 0xFFFFU}) + "." + toText(std::int64_t{version >> 16});
}

std::pair<std::int64_t, std::int64_t> versionOf(const std::string& text) {
  std::int64_t major = -1, minor = -1;
  const auto dot = std::min(text.find('.'), text.size());
  const bool isVersion =
      dot < text.size() && parseNumber(text.substr(0, dot), &major) && parseNumber(text.substr(dot + 1), &minor);
  return isVersion ? std::pair{major, minor} : std::pair<std::int64_t, std::int64_t>{-1, -1};
}

/// "SOFTWARE\vendor\product", to which the version belongs.
std::string productKey(IOemInfo& info) {
  return "SOFTWARE\\" + info.GetVendorName() + "\\" + info.GetProductTitle();
}

/// A new version of the program starts with the settings of the one before: the highest that has any.
KxPtr<IParam> openCurrentServer() {
  const auto info = loadOemInfo();
  if (!info) return {};
  const std::string product = productKey(*info);
  if (auto own = new_IParamCUReg(product + "\\" + versionText(info->GetVersion()) + "\\NetScanServer", 0))
    return own;
  const auto versions = new_IParamCUReg(product, 0);
  if (!versions) return {};
  std::pair<std::int64_t, std::int64_t> best{-1, -1};
  std::string name;
  for (const std::string& version : versions->GetSubStores()) {
    const auto number = versionOf(version);
    if (number > best && KxPtr<IParam>::adopt(versions->GetSubStore(version + "\\NetScanServer", 0))) {
      best = number;
      name = version;
    }
  }
  return name.empty() ? KxPtr<IParam>{} : new_IParamCUReg(product + "\\" + name + "\\NetScanServer", 0);
}

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

}  // namespace

std::string currentServerKey() {
  const auto info = loadOemInfo();
  return info ? productKey(*info) + "\\" + versionText(info->GetVersion()) + "\\NetScanServer" : std::string();
}

std::string NetClientProblem(const std::string& name) {
  if (name.empty()) return Supp_Translate("A client needs a name.");
  std::string shown = name;
  std::replace_if(shown.begin(), shown.end(), isControl, '?');
  if (shown != name)
    return formatText(Supp_Translate("The name \"%s\" holds a line break or another control character."), {shown});
  if (name.find_first_of("\\/") != std::string::npos)
    return formatText(Supp_Translate("The name \"%s\" holds a slash or backslash. Give the name alone."), {name});
  if (name.front() == ' ' || name.back() == ' ')
    return formatText(Supp_Translate("The name \"%s\" begins or ends with a blank."), {name});
  return {};
}

void readNetClients(IParam* server, const std::string& label, std::vector<NetClient>* out) {
  const auto network = KxPtr<IParam>::adopt(server->GetSubStore(kNetwork, 0));
  const auto users = KxPtr<IParam>::adopt(server->GetSubStore(kUsers, 0));
  if (!network || !users) return;
  const std::string folder = paramString(network.get(), kHotFolder);
  if (folder.empty()) return;
  NetClient client;
  client.hotFolder = fio::withDelimiter(fio::expandHome(folder));
  client.mountPoint = paramString(network.get(), kMountPoint);
  for (const std::string& name : users->GetKeys()) {
    const std::string why = NetClientProblem(name);
    if (!why.empty()) {
      logLine(LogLevel::Warning, kNetLog, "a client of the scan server is left out: " + why);
      continue;
    }
    client.path = "\\\\" + name;
    client.text = label + client.path;
    out->push_back(client);
  }
}

std::vector<NetClient> ListNetClients() {
  std::vector<NetClient> clients;
  if (const auto current = openCurrentServer())
    readNetClients(current.get(), Supp_Translate(kCurrentLabel), &clients);
  if (const auto older = new_IParamCUReg(kOlderServerKey, 0))
    readNetClients(older.get(), Supp_Translate(kOlderLabel), &clients);
  return clients;
}

NetServer GetNetServer() {
  NetServer server;
  const auto key = openCurrentServer();
  if (!key) return server;
  const auto network = KxPtr<IParam>::adopt(key->GetSubStore(kNetwork, 0));
  const auto users = KxPtr<IParam>::adopt(key->GetSubStore(kUsers, 0));
  server.hotFolder = paramString(network.get(), kHotFolder);
  if (users) server.clients = users->GetKeys();
  return server;
}

int SetNetServer(const NetServer& server, std::string* why) {
  const auto refuse = [&](const std::string& text) {
    if (why) *why = text;
    return 0;
  };
  for (const std::string& name : server.clients)
    if (const std::string problem = NetClientProblem(name); !problem.empty()) return refuse(problem);
  const std::string folder = fio::expandHome(server.hotFolder);
  if (!folder.empty() && folder.front() != '/')
    return refuse(formatText(Supp_Translate("The hot folder \"%s\" is no absolute path."), {server.hotFolder}));
  if (std::any_of(folder.begin(), folder.end(), isControl))
    return refuse(Supp_Translate("The name of the hot folder holds a line break or another control character."));
  const std::string path = currentServerKey();
  if (path.empty())
    return refuse(Supp_Translate("The library oeminfo.so was not found. Install the program again."));
  try {
    const auto key = new_IParamCUReg(path, 1);
    const auto network = KxPtr<IParam>::adopt(key->GetSubStore(kNetwork, 1));
    network->SetValue(kHotFolder, folder.empty() ? CKxVariant{} : CKxVariant{folder});
    const HotFolderState state = TryHotFolder(folder, {}, kProbeLimitMs);
    const bool onMount =
        !state.mountPoint.empty() && state.mountPoint != "/" && state.fate == HotFolderState::Ready;
    // A folder that is away keeps what was noted of it.
    if (onMount || state.fate == HotFolderState::Ready)
      network->SetValue(kMountPoint, onMount ? CKxVariant{state.mountPoint} : CKxVariant{});
    key->RemoveSubStore(kUsers);
    const auto users = KxPtr<IParam>::adopt(key->GetSubStore(kUsers, 1));
    for (const std::string& name : server.clients) users->SetValue(name, "");
    saveIParamCUReg(key.get());
    return 1;
  } catch (const CXException& e) {
    return refuse(e.what());
  }
}

}  // namespace quillbay
