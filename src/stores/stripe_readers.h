#pragma once
#include "quillbay/raster.h"

namespace quillbay {

class CWaitStor;

/// The place of a reader in its facade: a line of the stripe that it holds. The three readers share it.
class StripeCursor {
 public:
  explicit StripeCursor(CWaitStor* owner) : m_owner(owner) {}
  /// Holds the facade's current stripe from here on.
  void hold();
  void drop() noexcept;
  /// The next line, or null when nothing is held. Stays the next one until `step`.
  [[nodiscard]] const std::uint8_t* line() const;
  /// Moves on. After a stripe's last line it waits for the next stripe: so the facade's height has grown, or the
  /// page is over, before the reader's user asks. At the page's end the last stripe starts again.
  /// The stripe that was left is put into `*left`, when given.
  void step(KxPtr<IScanBuffer>* left = nullptr);
  /// `count` pixels of the next line from pixel `x` on; then moves on. Returns 1, or 0 outside the line.
  int copyLine(std::int32_t x, std::int32_t count, void* buffer);

 private:
  CWaitStor* m_owner;
  std::int32_t m_index = 0;
  KxPtr<IScanBuffer> m_held;
};

/// A reader embedded in a `CWaitStor`: delivers line after line, whichever is asked for.
template <class I>
class StripeReader : public CKxUnknownImplStatic<I> {
 public:
  explicit StripeReader(CWaitStor* owner) : m_cursor(owner) {}
  [[nodiscard]] StripeCursor& cursor() noexcept { return m_cursor; }
  /// Its own interface and the general one.
  int QueryInterface(const std::type_info& wanted, void** out) override {
    if (!(wanted == typeid(IAccessContext))) return CKxUnknownImplStatic<I>::QueryInterface(wanted, out);
    this->AddRef();
    *out = static_cast<IAccessContext*>(this);
    return 1;
  }
  int WriteLine(std::int32_t, std::int32_t, std::int32_t, const void*) override { return 0; }
  int GetColorCount() override { return 0; }
  int GetPalette(KXRGBQUAD*) override { return 0; }

 protected:
  StripeCursor m_cursor;
};

class CIRGBContext final : public StripeReader<IRGBContext> {
 public:
  using StripeReader::StripeReader;
  int ReadLine(std::int32_t line, std::int32_t x, std::int32_t count, void* buffer) override;
};

class CIPalContext final : public StripeReader<IPalContext> {
 public:
  explicit CIPalContext(CWaitStor* owner) : StripeReader(owner), m_owner(owner) {}
  int ReadLine(std::int32_t line, std::int32_t x, std::int32_t count, void* buffer) override;
  int GetColorCount() override;
  int GetPalette(KXRGBQUAD* out) override;
  int SetPalette(const KXRGBQUAD*, int) override { return 0; }

 private:
  CWaitStor* m_owner;
};

class CIARSContext final : public StripeReader<IARSContext> {
 public:
  using StripeReader::StripeReader;
  int ReadLine(std::int32_t line, std::int32_t x, std::int32_t count, void* buffer) override;
  /// Of the next line; does not move on.
  std::size_t GetLineSize(std::int32_t line) override;
  /// Valid until the reader has moved two stripes on.
  const std::uint32_t* GetLinePointer(std::int32_t line) override;
  void dropAll() noexcept;

 private:
  KxPtr<IScanBuffer> m_previous;
};

}  // namespace quillbay
