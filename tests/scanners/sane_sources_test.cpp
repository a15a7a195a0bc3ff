#include "scanners/sane/sane_sources.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

SaneOption listOption(const char* name, std::vector<std::string> values, const char* now, bool active = true) {
  SaneOption o;
  o.name = name;
  o.type = SANE_TYPE_STRING;
  o.cap = SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT | (active ? 0 : SANE_CAP_INACTIVE);
  o.strings = std::move(values);
  o.text = now;
  return o;
}

SaneOption flag(const char* name, bool now) {
  SaneOption o = listOption(name, {}, "");
  o.type = SANE_TYPE_BOOL;
  o.value = {now ? SANE_TRUE : SANE_FALSE};
  return o;
}

using enum UnitSource;

/// `wanted`: what chooses both sides.
void check(const char* why, const std::vector<SaneOption>& options, const std::vector<UnitSource>& expected,
           UnitSource now, const SaneSources::Settings& wanted) {
  SCOPED_TRACE(why);
  const SaneSources sources(options);
  std::vector<UnitSource> offered;
  SaneSources::Settings duplex;
  for (const auto& choice : sources.choices()) {
    offered.push_back(choice.source);
    EXPECT_EQ(sources.current(choice.settings), choice.source) << "what chooses it";
    if (choice.source == Duplex) duplex = choice.settings;
  }
  EXPECT_EQ(offered, expected);
  EXPECT_EQ(sources.current(), now);
  EXPECT_EQ(duplex, wanted);
}

TEST(SaneSources, AreFoundInWhatDriversCallThem) {
  check("no source", {flag("preview", false)}, {}, Flatbed, {});
  check("flatbed and feeder",
        {listOption("source", {"Flatbed", "Automatic Document Feeder"}, "Automatic Document Feeder")},
        {Flatbed, Feeder}, Feeder, {});
  check("other names of the bed", {listOption("source", {"Normal", "ADF"}, "Normal")}, {Flatbed, Feeder}, Flatbed,
        {});
  check("both sides as a source",
        {listOption("source", {"ADF Duplex", "ADF Front", "ADF Back", "Flatbed"}, "ADF Duplex")},
        {Flatbed, Feeder, Duplex}, Duplex, {{"source", "ADF Duplex"}});
  check("both sides as a mode of the feeder",
        {listOption("source", {"Flatbed", "ADF"}, "ADF"), listOption("adf-mode", {"Simplex", "Duplex"}, "Duplex")},
        {Flatbed, Feeder, Duplex}, Duplex, {{"source", "ADF"}, {"adf-mode", "Duplex"}});
  check("a mode of the feeder that rests while the bed is chosen",
        {listOption("source", {"Flatbed", "ADF"}, "Flatbed"),
         listOption("adf-mode", {"Simplex", "Duplex"}, "", false)},
        {Flatbed, Feeder, Duplex}, Flatbed, {{"source", "ADF"}, {"adf-mode", "Duplex"}});
  check("a feeder alone, both sides as a switch", {flag("duplex", false)}, {Feeder, Duplex}, Feeder,
        {{"duplex", "yes"}});
}

}  // namespace
}  // namespace quillbay
