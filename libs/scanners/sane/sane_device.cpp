#include "scanners/sane/sane_device.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <thread>
#include <utility>

#include "platform/base_services.h"
#include "scanners/sane/sane_fault.h"
#include "scanners/sane/sane_link.h"
#include "scanners/sane/sane_thread.h"

namespace quillbay {

SaneDevice::SaneDevice(std::string name) : m_name(std::move(name)) { open(); }

SaneDevice::~SaneDevice() { close(); }

void SaneDevice::open() {
  SANE_Handle handle = nullptr;
  const SANE_Status status = sane_open(m_name.c_str(), &handle);
  if (status == SANE_STATUS_ACCESS_DENIED) SaneThread::instance().forgetPasswords();
  checkSane(status, m_name, SaneStep::Open);
  m_handle = handle;
  SaneThread::instance().deviceOpened();
  reload();
}

void SaneDevice::close() noexcept {
  if (!m_handle) return;
  sane_close(std::exchange(m_handle, nullptr));
  SaneThread::instance().deviceClosed();
}

bool SaneDevice::mayAsk() const { return isOpen() && !(isRemote() && hasBrokenSaneLink()); }

void SaneDevice::reopen(const std::string& name) {
  close();
  m_name = name;
  open();
}

void SaneDevice::reload() {
  m_options.clear();
  std::string group;
  // Option 0 holds the count, and is none of the device's own.
  for (SANE_Int i = 1;; ++i) {
    const SANE_Option_Descriptor* d = sane_get_option_descriptor(m_handle, i);
    if (!d) break;
    if (d->type == SANE_TYPE_GROUP) group = d->title ? d->title : "";
    if (d->type == SANE_TYPE_GROUP || !d->name || !*d->name) continue;
    m_options.push_back(readSaneOption(m_handle, i, *d));
    m_options.back().group = group;
  }
}

const SaneOption* SaneDevice::find(std::string_view name) const noexcept {
  const auto it =
      std::find_if(m_options.begin(), m_options.end(), [&](const SaneOption& o) { return o.name == name; });
  return it == m_options.end() ? nullptr : &*it;
}

const SaneOption* SaneDevice::settable(std::string_view name) const noexcept {
  const SaneOption* o = find(name);
  return o && o->isActive() && o->isSettable() ? o : nullptr;
}

void SaneDevice::refresh(std::string_view name) {
  const SaneOption* o = find(name);
  const SANE_Option_Descriptor* d = o ? sane_get_option_descriptor(m_handle, o->index) : nullptr;
  if (!d) return;
  SaneOption& kept = m_options[static_cast<std::size_t>(o - m_options.data())];
  std::string group = std::move(kept.group);
  kept = readSaneOption(m_handle, o->index, *d);
  kept.group = std::move(group);
}

void SaneDevice::set(std::string_view name, const SaneValue& value) {
  const SaneOption* o = find(name);
  if (!o || !o->isSettable()) checkSane(SANE_STATUS_UNSUPPORTED, m_name, SaneStep::Set, name);
  const auto size = static_cast<std::size_t>(std::max(o->size, SANE_Int{0}));
  // Words, so that the room is aligned for either kind of value.
  std::vector<SANE_Word> room(size / sizeof(SANE_Word) + 1);
  if (o->type == SANE_TYPE_STRING)
    std::memcpy(room.data(), value.text.c_str(), std::min(value.text.size() + 1, size));
  else
    std::copy_n(value.words.begin(), std::min(value.words.size(), room.size()), room.begin());
  SANE_Int info = 0;
  const bool hasValue = o->type != SANE_TYPE_BUTTON && !value.isAutomatic;
  const SANE_Status status =
      sane_control_option(m_handle, o->index, value.isAutomatic ? SANE_ACTION_SET_AUTO : SANE_ACTION_SET_VALUE,
                          hasValue ? room.data() : nullptr, &info);
  checkSane(status, m_name, SaneStep::Set, name);
  if (info & SANE_INFO_RELOAD_OPTIONS)
    reload();
  else
    refresh(name);
  const SaneOption* taken = find(name);
  if (taken && (info & SANE_INFO_INEXACT))
    logLine(LogLevel::Info, "quillbay.scanner",
            m_name + " took another value for " + std::string(name) + ": " + describeOption(*taken).value);
}

void SaneDevice::setNumber(std::string_view name, double number) {
  const SaneOption* o = find(name);
  if (!o) checkSane(SANE_STATUS_UNSUPPORTED, m_name, SaneStep::Set, name);
  set(name, {{toWord(o->type, number)}, {}});
}

void SaneDevice::setText(std::string_view name, std::string_view text) { set(name, {{}, std::string(text)}); }

SANE_Parameters SaneDevice::parameters() {
  SANE_Parameters p{};
  checkSane(sane_get_parameters(m_handle, &p), m_name, SaneStep::Start);
  return p;
}

template <class Call>
SANE_Status SaneDevice::interruptible(const std::atomic<bool>& stop, bool mayInterrupt, Call call) {
  {
    const std::lock_guard lock(m_interruptMutex);
    if (stop) return SANE_STATUS_CANCELLED;
    m_mayInterrupt = mayInterrupt;
  }
  const SANE_Status status = call();
  const std::lock_guard lock(m_interruptMutex);  // waits for an interrupt that is under way
  m_mayInterrupt = false;
  return status;
}

SANE_Status SaneDevice::start(const std::atomic<bool>& stop) {
  ignoreSigpipe();
  // The network driver sends start and cancel over one connection, where they would get mixed up; its reads have
  // another.
  return interruptible(stop, !isRemote(), [&] {
    const SANE_Status status = sane_start(m_handle);
    m_startedAt = std::chrono::steady_clock::now();
    return status;
  });
}

SANE_Status SaneDevice::read(std::uint8_t* to, SANE_Int room, SANE_Int* got, const std::atomic<bool>& stop) {
  const SANE_Status status = interruptible(stop, true, [&] { return sane_read(m_handle, to, room, got); });
  if (status == SANE_STATUS_GOOD && *got > 0) m_startedAt = std::chrono::steady_clock::time_point{};
  return status;
}

void SaneDevice::interrupt() {
  const std::lock_guard lock(m_interruptMutex);
  if (m_mayInterrupt) cancelReader();
}

void SaneDevice::cancel() {
  if (m_handle) cancelReader();
}

// Many drivers read on a thread of their own, which a cancel kills wherever it is. While it starts it holds locks
// of the C library, which would stay locked for good: until it has delivered something it is given the time to
// start.
void SaneDevice::cancelReader() {
  constexpr auto kReaderStarts = std::chrono::milliseconds(20);
  std::this_thread::sleep_until(m_startedAt.load() + kReaderStarts);
  sane_cancel(m_handle);
}

}  // namespace quillbay
