#include "scanners/sane/sane_sources.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "scanners/sane/md5.h"
#include "scanners/sane/sane_auth.h"

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

struct Person {
  int questions = 0;
  bool answers = true;
  SaneAuth::Ask ask = [this](const std::string&, bool secret, std::string* answer) {
    ++questions;
    *answer = secret ? "secret" : "anna";
    return answers;
  };
};

// The check points of RFC 1321, appendix A.5, and lengths about a block's end against `md5sum`.
TEST(Md5, CheckPoints) {
  EXPECT_EQ(md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(md5Hex("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(md5Hex("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
            "57edf4a22be3c955ac49da2e2107b67a");
  EXPECT_EQ(md5Hex(std::string(55, 'a')), "ef1772b6dff9a122358552954ad0df65");
  EXPECT_EQ(md5Hex(std::string(56, 'a')), "3b0c8ac703f828b04c6c197006d17218");
  EXPECT_EQ(md5Hex(std::string(64, 'a')), "014842d480b571495a4a0363793f7367");
}

TEST(SaneAuth, AsksOncePerResource) {
  SaneAuth auth;
  Person person;
  std::string user, password;
  auth.answer("net:host:test:0", person.ask, &user, &password);
  EXPECT_EQ(user, "anna");
  EXPECT_EQ(password, "secret");
  EXPECT_EQ(person.questions, 2);
  auth.answer("net:host:test:0$MD5$a1b2c3", person.ask, &user, &password);  // the same resource
  EXPECT_EQ(person.questions, 2);
  EXPECT_EQ(password, "$MD5$" + md5Hex("a1b2c3secret"));
  auth.answer("net:host:other:0", person.ask, &user, &password);
  EXPECT_EQ(person.questions, 4);
  auth.forget();
  auth.answer("net:host:test:0", person.ask, &user, &password);
  EXPECT_EQ(person.questions, 6);
  person.answers = false;
  for (int i = 0; i < 2; ++i) auth.answer("printer$MD5$x", person.ask, &user, &password);
  EXPECT_EQ(person.questions, 7) << "whoever gives up is not asked again";
  EXPECT_EQ(user + password, "");
}

TEST(SaneAuth, EnvironmentAnswersForThePerson) {
  setenv("QUILLBAY_SANE_USER", "robot", 1);
  setenv("QUILLBAY_SANE_PASSWORD", std::string(200, 'p').c_str(), 1);
  SaneAuth auth;
  Person person;
  std::string user, password;
  auth.answer("printer", person.ask, &user, &password);
  unsetenv("QUILLBAY_SANE_USER");
  unsetenv("QUILLBAY_SANE_PASSWORD");
  EXPECT_EQ(user, "robot");
  EXPECT_EQ(password, std::string(127, 'p')) << "what SANE has room for";
  EXPECT_EQ(person.questions, 0);
}

}  // namespace
}  // namespace quillbay
