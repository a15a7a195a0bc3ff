#pragma once
#include <QPointer>
#include <QWidget>
#include <functional>
#include <string>

#include "quillbay/host.h"

namespace quillbay {

/// The manual as the panel and the messages open it: in the program's own window, or in a plain one.
/// User-interface thread.
class CHostHelp final : public CKxUnknownImpl<IHelp> {
 public:
  using Show = std::function<QWidget*(const std::string& page)>;
  explicit CHostHelp(Show show) : m_show(std::move(show)) {}
  ~CHostHelp() override;
  int ShowTopic(const char* topic) override;

 private:
  QWidget* showPlainly(const std::string& page);

  const Show m_show;
  QPointer<QWidget> m_plain;  // made when it is needed; deleted here
};

}  // namespace quillbay
