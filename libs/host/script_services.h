#pragma once
#include "quillbay/script_services.h"

namespace quillbay {

/// What a script that runs reports. On the thread that the script runs on.
class IScriptReports : public IKxUnknown {
 public:
  /// `line` without its line feed.
  virtual void Log(const std::string& line) = 0;
  /// The progress of one run; empty without one.
  [[nodiscard]] virtual KxPtr<IProgress> MakeProgress(const std::string& name) = 0;
  /// The same for a script that works aside.
  [[nodiscard]] virtual KxPtr<IProgress> MakeSideProgress(const std::string& name) = 0;
  virtual void FileFailed(const std::string& file, IParam* parameters, bool cancelled) = 0;
};

/// The registrations of `IScriptServices`, and the calls to them.
class CScriptServices final : public CKxUnknownImpl<IScriptServices, IScriptReports> {
 public:
  KxPtr<IConnectionPoint<IScriptLogSink>> GetLogs() override { return shared(m_logs); }
  KxPtr<IConnectionPoint<IScriptProgressFactory>> GetProgressFactories() override { return shared(m_factories); }
  KxPtr<IConnectionPoint<IScriptErrorSink>> GetErrorCollectors() override { return shared(m_collectors); }

  KxPtr<IConnectionPoint<IScriptRunner>> GetRunners() override { return shared(m_runners); }

  void Log(const std::string& line) override;
  /// That of the factory which came last.
  KxPtr<IProgress> MakeProgress(const std::string& name) override;
  /// That of the factory which came first, while somebody lists failures: one that came later, for a command of a
  /// program's own, would show a window for what runs behind it.
  KxPtr<IProgress> MakeSideProgress(const std::string& name) override;
  void FileFailed(const std::string& file, IParam* parameters, bool cancelled) override;
  /// The runner that came last; empty without one.
  [[nodiscard]] KxPtr<IScriptRunner> runner() const;
  /// Whether somebody lists the files that failed.
  [[nodiscard]] bool listsFailures() const { return static_cast<bool>(m_collectors->Enumerate()->Next()); }

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
  const Point<IScriptRunner> m_runners = make<IScriptRunner>();
};

}  // namespace quillbay
