// Prints the SANE devices, one a line, as tab-separated fields: device, vendor, model, type. A program of its own,
// since looking for devices takes seconds and a driver that crashes meanwhile must not take the panel with it.
// Exit status: 0 done, 1 SANE cannot be used (the reason is on standard error).
// usage: quillbay-list-scanners [DEVICE]    with a device that no driver lists: it is printed when it can be opened
#include <sane/sane.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::string field(const char* text) {
  std::string clean = text ? text : "";
  for (char& c : clean)
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
  return clean;
}

int fail(SANE_Status status) {
  std::fprintf(stderr, "%s\n", sane_strstatus(status));
  return 1;
}

// Devices on the network may be reached without being listed. One that is busy or wants a password is there.
bool isThere(const char* device) {
  SANE_Handle handle = nullptr;
  const SANE_Status status = sane_open(device, &handle);
  if (status == SANE_STATUS_GOOD) sane_close(handle);
  return status == SANE_STATUS_GOOD || status == SANE_STATUS_DEVICE_BUSY || status == SANE_STATUS_ACCESS_DENIED;
}

}  // namespace

int main(int argc, char** argv) {
  SANE_Int version = 0;
  if (const SANE_Status status = sane_init(&version, nullptr); status != SANE_STATUS_GOOD) return fail(status);
  const SANE_Device** devices = nullptr;
  if (const SANE_Status status = sane_get_devices(&devices, SANE_FALSE); status != SANE_STATUS_GOOD)
    return fail(status);
  const char* unlisted = argc > 1 ? argv[1] : nullptr;
  for (; *devices; ++devices) {
    const SANE_Device& d = **devices;
    if (unlisted && std::strcmp(unlisted, d.name) == 0) unlisted = nullptr;
    std::printf("%s\t%s\t%s\t%s\n", field(d.name).c_str(), field(d.vendor).c_str(), field(d.model).c_str(),
                field(d.type).c_str());
  }
  std::fflush(stdout);
  if (unlisted && isThere(unlisted)) std::printf("%s\t\t\t\n", field(unlisted).c_str());
  std::fflush(stdout);
  // The drivers are not taken down: nothing is open, and some of them crash or hang there.
  std::_Exit(0);
}
