#pragma once
#include <cups/cups.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "printing/printers.h"

namespace quillbay {

struct IppDelete {
  void operator()(ipp_t* message) const noexcept { ippDelete(message); }
};
using IppPtr = std::unique_ptr<ipp_t, IppDelete>;

struct HttpDelete {
  void operator()(http_t* http) const noexcept { httpClose(http); }
};
using HttpPtr = std::unique_ptr<http_t, HttpDelete>;

/// One connection to a printer, or to a queue of the print system, with requests over it. One thread; libcups keeps
/// errors for each thread. Everything throws CXDeviceException, with the printer's name, the cause and what to do.
class IppLink {
 public:
  /// Asked about five times a second while nothing moves, with the seconds since something did. False: give up.
  using KeepWaiting = std::function<bool(double seconds)>;

  /// Connects. `name` as of `printerAttributes`. `cancel` may be null; a number other than 0 in it ends the wait.
  /// Without `keepWaiting` the patience's `answer` is the limit.
  IppLink(std::string name, const PrinterPatience& patience, int* cancel, KeepWaiting keepWaiting = {});
  // The connection knows this object.
  IppLink(const IppLink&) = delete;
  IppLink& operator=(const IppLink&) = delete;

  /// What users call the printer.
  [[nodiscard]] const std::string& name() const noexcept { return m_name; }
  [[nodiscard]] const std::string& uri() const noexcept { return m_uri; }

  /// A request to this printer with its user's name; more is added by who asks.
  [[nodiscard]] IppPtr newRequest(ipp_op_t operation) const;
  /// Sends and gives the answer, whatever its status.
  [[nodiscard]] IppPtr tryAsk(IppPtr request);
  /// The same; a status that is an error throws. `doing` completes "could not ...".
  IppPtr ask(IppPtr request, const char* doing);

  /// A request whose document follows in pieces.
  void startDocument(IppPtr request);
  void writeDocument(const char* bytes, std::size_t count);
  IppPtr finishDocument();

  /// "The printer "x" ...: cause." with what libcups knows, and advice; `refuse`: it can be reached, and said no.
  [[noreturn]] void fail(const std::string& what) const;
  [[noreturn]] void refuse(const std::string& what) const;

 private:
  void connectTo(const std::string& address);
  void connectQueue();
  bool tryConnectDestination();
  void takeConnection(HttpPtr http);
  static int onTimeout(http_t*, void* self);
  void moved() { m_moved = std::chrono::steady_clock::now(); }

  std::string m_name;
  PrinterPatience m_patience;
  int* m_cancel;
  KeepWaiting m_keepWaiting;
  std::string m_uri, m_resource;
  HttpPtr m_http;
  std::chrono::steady_clock::time_point m_moved;
};

/// A connection to the print system itself, or null; libcups tells the cause.
[[nodiscard]] HttpPtr connectPrintSystem(double seconds, int* cancel);

/// Whether a name is the address of a printer.
[[nodiscard]] bool isPrinterAddress(const std::string& name) noexcept;

}  // namespace quillbay
