#include "widgets/form_text.h"

#include "quillbay/translation.h"

namespace quillbay {

QString formText(const char* english, const char* /*comment*/) {
  return english && *english ? QString::fromStdString(Supp_Translate(english)) : QString();
}

}  // namespace quillbay
