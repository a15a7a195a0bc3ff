#include "printing/ipp_link.h"

#include <array>

#include "platform/base_services.h"

namespace quillbay {
namespace {

constexpr double kTick = 0.2;  // seconds between questions whether to go on waiting

/// Nobody sits at a terminal: a printer that wants a password is refused instead.
const char* noPassword(const char*, http_t*, const char*, const char*, void*) { return nullptr; }

/// What libcups knows of the last failure, without a full stop.
std::string lastError() {
  const char* text = cupsLastErrorString();
  std::string error = text && *text ? text
                      : errno != 0  ? fio::errorText(errno)
                                    : Supp_Translate("no answer in time");
  while (error.ends_with('.')) error.pop_back();
  return error;
}

}  // namespace

bool isPrinterAddress(const std::string& name) noexcept {
  return name.starts_with("ipp://") || name.starts_with("ipps://");
}

HttpPtr connectPrintSystem(double seconds, int* cancel) {
  cupsSetPasswordCB2(noPassword, nullptr);
  return HttpPtr(httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1,
                              static_cast<int>(seconds * 1000), cancel));
}

IppLink::IppLink(std::string name, const PrinterPatience& patience, int* cancel, KeepWaiting keepWaiting)
    : m_name(std::move(name)), m_patience(patience), m_cancel(cancel), m_keepWaiting(std::move(keepWaiting)) {
  cupsSetPasswordCB2(noPassword, nullptr);
  moved();
  if (isPrinterAddress(m_name)) {
    connectTo(m_name);
  } else {
    connectQueue();
  }
}

void IppLink::fail(const std::string& what) const {
  throw CXDeviceException(formatText(Supp_Translate("The printer \"%s\" %s: %s. Check that it is switched on and "
                                                    "connected, and try again."),
                                     {m_name, what, lastError()}));
}

void IppLink::refuse(const std::string& what) const {
  throw CXDeviceException(formatText(Supp_Translate("The printer \"%s\" %s: %s."), {m_name, what, lastError()}));
}

void IppLink::takeConnection(HttpPtr http) {
  m_http = std::move(http);
  httpSetTimeout(m_http.get(), kTick, &IppLink::onTimeout, this);
}

int IppLink::onTimeout(http_t*, void* self) {
  auto& link = *static_cast<IppLink*>(self);
  const double waited = std::chrono::duration<double>(std::chrono::steady_clock::now() - link.m_moved).count();
  if (link.m_keepWaiting) return link.m_keepWaiting(waited) ? 1 : 0;
  return waited < link.m_patience.answer ? 1 : 0;
}

void IppLink::connectTo(const std::string& address) {
  std::array<char, 32> scheme{};
  std::array<char, 256> user{}, host{};
  std::array<char, 1024> resource{};
  int port = 0;
  const auto size = [](const auto& text) { return static_cast<int>(text.size()); };
  if (httpSeparateURI(HTTP_URI_CODING_ALL, address.c_str(), scheme.data(), size(scheme), user.data(), size(user),
                      host.data(), size(host), &port, resource.data(), size(resource)) < HTTP_URI_STATUS_OK) {
    throw CXDeviceException(formatText(
        Supp_Translate("\"%s\" is not the address of a printer. Enter it as ipp://HOST/ipp/print."), {address}));
  }
  const bool secure = std::string_view(scheme.data()) == "ipps" || port == 443;
  HttpPtr http(httpConnect2(host.data(), port, nullptr, AF_UNSPEC,
                            secure ? HTTP_ENCRYPTION_ALWAYS : HTTP_ENCRYPTION_IF_REQUESTED, 1,
                            static_cast<int>(m_patience.connect * 1000), m_cancel));
  if (!http) fail(Supp_Translate("cannot be reached"));
  m_uri = address;
  m_resource = resource.data();
  takeConnection(std::move(http));
}

void IppLink::connectQueue() {
  HttpPtr http = connectPrintSystem(m_patience.connect, m_cancel);
  if (!http) {
    throw CXDeviceException(formatText(
        Supp_Translate("The print system (CUPS) does not answer: %s. Start it, or enter the printer's address as "
                       "ipp://HOST/ipp/print."),
        {lastError()}));
  }
  takeConnection(std::move(http));
  if (m_name.empty()) {
    const std::unique_ptr<cups_dest_t, void (*)(cups_dest_t*)> one(cupsGetNamedDest(m_http.get(), nullptr, nullptr),
                                                                   [](cups_dest_t* d) { cupsFreeDests(1, d); });
    if (!one) {
      throw CXDeviceException(
          Supp_Translate("There is no default printer. Choose a printer in the print options, or set one up in the "
                         "system's settings."));
    }
    m_name = one->name;
  }
  for (const char* folder : {"/printers/", "/classes/"}) {
    m_resource = folder + m_name;
    std::array<char, 1024> uri{};
    httpAssembleURI(HTTP_URI_CODING_ALL, uri.data(), static_cast<int>(uri.size()), "ipp", nullptr, "localhost", 0,
                    m_resource.c_str());
    m_uri = uri.data();
    IppPtr request = newRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
    ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr,
                 "printer-name");
    const IppPtr answer = tryAsk(std::move(request));
    if (answer && ippGetStatusCode(answer.get()) < IPP_STATUS_ERROR_BAD_REQUEST) return;
  }
  if (tryConnectDestination()) return;
  throw CXDeviceException(
      formatText(Supp_Translate("There is no printer \"%s\". Choose another one in the print options."), {m_name}));
}

/// A printer that was found in the network has no queue yet.
bool IppLink::tryConnectDestination() {
  const std::unique_ptr<cups_dest_t, void (*)(cups_dest_t*)> one(
      cupsGetNamedDest(CUPS_HTTP_DEFAULT, m_name.c_str(), nullptr), [](cups_dest_t* d) { cupsFreeDests(1, d); });
  if (!one) return false;
  std::array<char, 1024> resource{};
  HttpPtr http(cupsConnectDest(one.get(), CUPS_DEST_FLAGS_NONE, static_cast<int>(m_patience.connect * 1000),
                               m_cancel, resource.data(), resource.size(), nullptr, nullptr));
  if (!http) fail(Supp_Translate("cannot be reached"));
  const char* uri = cupsGetOption("printer-uri-supported", one->num_options, one->options);
  if (!uri) uri = cupsGetOption("device-uri", one->num_options, one->options);
  m_uri = uri ? uri : "";
  m_resource = resource.data();
  takeConnection(std::move(http));
  return true;
}

IppPtr IppLink::newRequest(ipp_op_t operation) const {
  IppPtr request(ippNewRequest(operation));
  ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, m_uri.c_str());
  ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, cupsUser());
  return request;
}

IppPtr IppLink::tryAsk(IppPtr request) {
  moved();
  IppPtr answer(cupsDoRequest(m_http.get(), request.release(), m_resource.c_str()));
  moved();
  return answer;
}

IppPtr IppLink::ask(IppPtr request, const char* doing) {
  IppPtr answer = tryAsk(std::move(request));
  if (!answer) fail(Supp_Translate("does not answer"));
  if (ippGetStatusCode(answer.get()) >= IPP_STATUS_ERROR_BAD_REQUEST) refuse(Supp_Translate(doing));
  return answer;
}

void IppLink::startDocument(IppPtr request) {
  moved();
  const http_status_t status =
      cupsSendRequest(m_http.get(), request.get(), m_resource.c_str(), CUPS_LENGTH_VARIABLE);
  if (status != HTTP_STATUS_CONTINUE && status != HTTP_STATUS_OK) fail(Supp_Translate("refuses the page"));
  moved();
}

void IppLink::writeDocument(const char* bytes, std::size_t count) {
  if (cupsWriteRequestData(m_http.get(), bytes, count) != HTTP_STATUS_CONTINUE) {
    // What the printer said before it stopped reading tells more than the broken connection does.
    const IppPtr answer(cupsGetResponse(m_http.get(), m_resource.c_str()));
    fail(Supp_Translate("stopped taking the page"));
  }
  moved();
}

IppPtr IppLink::finishDocument() {
  IppPtr answer(cupsGetResponse(m_http.get(), m_resource.c_str()));
  if (!answer) fail(Supp_Translate("does not answer"));
  if (ippGetStatusCode(answer.get()) >= IPP_STATUS_ERROR_BAD_REQUEST) refuse(Supp_Translate("refuses the page"));
  return answer;
}

}  // namespace quillbay
