#pragma once
/// What a host may offer to the panel beside its application object. All of it is optional: the panel queries the
/// application object for it.
#include <cstdint>
#include <string>
#include <typeinfo>

#include "quillbay/kx_unknown.h"

namespace quillbay {

/// The name of a property of the host's message windows, set to true: with automatic answering
/// (`key::AutoAnswerEnable`) the panel presses the default button of a window that has it. Without it nothing is
/// answered.
inline constexpr char kMessageWindowMark[] = "quillbayMessageWindow";

/// A flag of `IEvents::Message`: the answer can cost a user work, so only a user gives it. It is never answered
/// automatically, whatever its window's default button.
inline constexpr int kMessageForUser = 1;

/// Replaces what the application object answers queries with. The panel registers its own `IEvents`, which forwards
/// to the host's, so that messages of scripts and destinations are answered automatically as well. User-interface
/// thread.
class IInterfaceRegistry : public IKxUnknown {
 public:
  /// From now on a query for `type` gets the `type` of `object`, which is held; the latest of a type counts.
  /// Returns 1, or 0 when the object has no such interface.
  virtual int Register(const std::type_info& type, IKxUnknown* object) = 0;
  /// Releases the object. Returns 1, or 0 when it was not registered.
  virtual int Withdraw(const std::type_info& type, IKxUnknown* object) = 0;
};

/// What the product is called, for titles and for files that name their maker.
class IOemInfo : public IKxUnknown {
 public:
  [[nodiscard]] virtual std::string GetVendorName() = 0;
  /// The product's name, without a version.
  [[nodiscard]] virtual std::string GetProductTitle() = 0;
  /// The major number in the low 16 bits, the minor one in the high 16 bits.
  [[nodiscard]] virtual std::uint32_t GetVersion() = 0;
};

}  // namespace quillbay
