#pragma once
#include "quillbay/app.h"
#include "quillbay/print_host.h"
#include "quillbay/printing.h"

namespace quillbay {

/// Keeps the parameters of the host's tools in its profile, a store for each tool in the section "Tools".
class CParamProvider final : public CKxUnknownImpl<IParamProvider, IParamReactors> {
 public:
  explicit CParamProvider(KxPtr<IProfile> profile) : m_profile(std::move(profile)) {}
  IParam* GetToolParams(std::string_view tool) override;
  int SetToolParams(std::string_view tool, IParam* params) override;
  IConnectionPoint<IParamReactor>* GetReactors() override { return KxPtr(m_reactors).detach(); }

 private:
  [[nodiscard]] KxPtr<IParam> tools() const;

  const KxPtr<IProfile> m_profile;
  const KxPtr<IConnectionPoint<IParamReactor>> m_reactors =
      KxPtr<IConnectionPoint<IParamReactor>>::adopt(new TConnectionPointImpl<IParamReactor>);
};

}  // namespace quillbay
