#include <vector>

#include "platform/host_module.h"
#include "quillbay/quillbay.h"

namespace quillbay {
namespace {

/// The application objects of the process, the latest last. None is held: each withdraws itself.
std::vector<IApp*>& registered() {
  static std::vector<IApp*> s_apps;
  return s_apps;
}

}  // namespace

void RegisterApp(IApp* app) {
  if (!app) return;
  WithdrawApp(app);
  registered().push_back(app);
}

void WithdrawApp(IApp* app) { std::erase(registered(), app); }

IApp* KxAcApp::GetApp() {
  return registered().empty() ? nullptr : KxPtr<IApp>::share(registered().back()).detach();
}

}  // namespace quillbay
