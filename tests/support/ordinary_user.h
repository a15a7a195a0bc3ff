#pragma once
#include <unistd.h>

namespace quillbay::test {

/// While it lives, a process of root has the rights of an ordinary user, for tests of permissions.
class OrdinaryUser {
 public:
  OrdinaryUser() : m_switched(::geteuid() == 0 && ::seteuid(65534) == 0) {}
  ~OrdinaryUser() {
    if (m_switched && ::seteuid(0) != 0) ::_exit(125);  // the other tests need their rights
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

 private:
  bool m_switched;
};

}  // namespace quillbay::test
