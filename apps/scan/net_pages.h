#pragma once
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "quillbay/host.h"
#include "quillbay/scan_server.h"
#include "reporter.h"
#include "scan_options.h"

/// Pages for the clients of scan servers.
namespace net_pages {

/// The client of --client, or the only one. Throws Failure, with the clients that there are.
[[nodiscard]] quillbay::NetClient clientOf(const ScanOptions& options);

/// Hands off pages while it lives.
class Sending {
 public:
  /// Nothing without --to net or --deliver.
  Sending(const ScanOptions& options, Reporter& reporter);
  /// Waits until no page waits, or a signal comes, and reports the names of those that were handed off and what the
  /// others wait for. Returns the exit status for a run that ended with `status`.
  [[nodiscard]] int finish(int status) const;

 private:
  Reporter& m_reporter;
  const int m_waitMs;
  const quillbay::KxPtr<quillbay::INetQueue> m_queue;  // null: nothing to do
};

/// Lists clients, sets up the server or hands off what waits. Nothing when the options ask for something else.
/// `open` makes the application object.
[[nodiscard]] std::optional<int> runAction(const ScanOptions& options, Reporter& reporter,
                                           const std::function<quillbay::KxPtr<quillbay::IHostApp>()>& open);

}  // namespace net_pages
