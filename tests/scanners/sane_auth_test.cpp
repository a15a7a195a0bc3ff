#include <gtest/gtest.h>

#include <cstdlib>

#include "scanners/sane/md5.h"
#include "scanners/sane/sane_auth.h"

namespace quillbay::testing {
namespace {

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
}  // namespace quillbay::testing
