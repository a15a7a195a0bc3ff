#pragma once
#include "quillbay/script_services.h"

namespace quillbay {

/// The registrations of `IScriptServices`, and the calls to them.
class CScriptServices final : public CKxUnknownImpl<IScriptServices> {
 public:
  KxPtr<IConnectionPoint<IScriptLogSink>> GetLogs() override { return shared(m_logs); }
  KxPtr<IConnectionPoint<IScriptProgressFactory>> GetProgressFactories() override { return shared(m_factories); }
  KxPtr<IConnectionPoint<IScriptErrorSink>> GetErrorCollectors() override { return shared(m_collectors); }

  /// `line` without its line feed.
  void log(const std::string& line) const;
  /// The progress of the factory that came last; empty without one.
  [[nodiscard]] KxPtr<IProgress> makeProgress(const std::string& name) const;
  void fileFailed(const std::string& file, IParam* parameters, bool cancelled) const;

 private:
  template <class I>
  using Point = KxPtr<TConnectionPointImpl<I>>;
  template <class I>
  static Point<I> make() {
    return Point<I>::adopt(new TConnectionPointImpl<I>);
  }
  template <class I>
  static KxPtr<IConnectionPoint<I>> shared(const Point<I>& point) {
    return KxPtr<IConnectionPoint<I>>::share(point.get());
  }

  const Point<IScriptLogSink> m_logs = make<IScriptLogSink>();
  const Point<IScriptProgressFactory> m_factories = make<IScriptProgressFactory>();
  const Point<IScriptErrorSink> m_collectors = make<IScriptErrorSink>();
};

}  // namespace quillbay
