/// What the black-and-white pages tell about their values.
#include "pages/bw_page.h"
#include "platform/base_services.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scan_mode.h"

namespace quillbay {

namespace {

const char* levelHelp(int mode) {
  switch (mode) {
    case kModeBwAdaptive:
      return "Higher: dark paper and solid surfaces turn black, and light lines on them white. Lower: stains and "
             "dark "
             "paper stay paper.";
    case kModeBwCopyPhoto: return "Higher: a darker picture with more dots. Lower: a lighter one with fewer dots.";
    case kModeBwCopyAdaptive:
      return "Higher: darker text and pictures. Lower: lighter ones; the paper stays free of dots.";
    default:
      return "Higher: darker, pale and thin lines stay, but dirt and grey paper turn black, too. Lower: cleaner "
             "paper, but thin lines break.";
  }
}

const char* suppressionHelp(int mode) {
  if (mode == kModeBwCopyAdaptive)
    return "More: grey and yellowed paper becomes white. Less: its tone stays, as dots.";
  return "More: the level follows the paper, so that stains, folds and shadows vanish. Less: one level for the "
         "whole "
         "page; large black surfaces stay more even.";
}

}  // namespace

std::string bwHelp(std::string_view stem, int mode) {
  if (stem == key::Level) return Supp_Translate(levelHelp(mode));
  if (stem == key::BackgroundSuppression) return Supp_Translate(suppressionHelp(mode));
  if (stem == key::SoftenSharpen)
    return Supp_Translate(
        "Above 0 sharpens: fine lines and lettering come apart, but grain shows. Below 0 softens: edges become "
        "smooth, "
        "but close lines run together.");
  return Supp_Translate(
      "More: grain, dust and printed screens vanish, but thin lines fade. 0: nothing is blurred.");
}

}  // namespace quillbay
