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

TEST(SaneSources, AreFoundInWhatDriversCallThem) {
  using enum UnitSource;
  struct Case {
    const char* why;
    std::vector<SaneOption> options;
    std::vector<UnitSource> offered;
    UnitSource now;
    SaneSources::Settings duplex;  // what chooses both sides
  };
  const Case cases[] = {
      {"no source", {flag("preview", false)}, {}, Flatbed, {}},
      {"flatbed and feeder",
       {listOption("source", {"Flatbed", "Automatic Document Feeder"}, "Automatic Document Feeder")},
       {Flatbed, Feeder},
       Feeder,
       {}},
      {"other names of the bed",
       {listOption("source", {"Normal", "ADF"}, "Normal")},
       {Flatbed, Feeder},
       Flatbed,
       {}},
      {"both sides as a source",
       {listOption("source", {"ADF Duplex", "ADF Front", "ADF Back", "Flatbed"}, "ADF Duplex")},
       {Flatbed, Feeder, Duplex},
       Duplex,
       {{"source", "ADF Duplex"}}},
      {"both sides as a mode of the feeder",
       {listOption("source", {"Flatbed", "ADF"}, "ADF"), listOption("adf-mode", {"Simplex", "Duplex"}, "Duplex")},
       {Flatbed, Feeder, Duplex},
       Duplex,
       {{"source", "ADF"}, {"adf-mode", "Duplex"}}},
      {"a mode of the feeder that rests while the bed is chosen",
       {listOption("source", {"Flatbed", "ADF"}, "Flatbed"),
        listOption("adf-mode", {"Simplex", "Duplex"}, "", false)},
       {Flatbed, Feeder, Duplex},
       Flatbed,
       {{"source", "ADF"}, {"adf-mode", "Duplex"}}},
      {"a feeder alone, both sides as a switch",
       {flag("duplex", false)},
       {Feeder, Duplex},
       Feeder,
       {{"duplex", "yes"}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const SaneSources sources(c.options);
    std::vector<UnitSource> offered;
    SaneSources::Settings duplex;
    for (const auto& choice : sources.choices()) {
      offered.push_back(choice.source);
      EXPECT_EQ(sources.current(choice.settings), choice.source) << "what chooses it";
      if (choice.source == Duplex) duplex = choice.settings;
    }
    EXPECT_EQ(offered, c.offered);
    EXPECT_EQ(sources.current(), c.now);
    EXPECT_EQ(duplex, c.duplex);
  }
}

}  // namespace
}  // namespace quillbay
