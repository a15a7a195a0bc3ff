#include "quillbay/param.h"

#include <gtest/gtest.h>

#include "core/param_tree.h"

namespace quillbay {
namespace {

using Names = std::vector<std::string>;

KxPtr<IParam> sub(const KxPtr<IParam>& set, std::string_view path, int create = 1) {
  return KxPtr<IParam>::adopt(set->GetSubStore(path, create));
}

TEST(MemParam, KeysAreCaseBlindAndKeepSpellingAndOrder) {
  const auto set = new_MemParam();
  set->SetValue("m_Dir", "/a");
  set->SetValue("Zeta", 1);
  set->SetValue("alpha", 2.5);
  set->SetValue("M_DIR", "/b");
  set->SetValue("\xC3\x84", "only ASCII letters fold");
  EXPECT_EQ(paramString(set.get(), "m_dir"), "/b");
  EXPECT_EQ(paramString(set.get(), "\xC3\xA4", "none"), "none");
  EXPECT_EQ(set->GetKeys(), (Names{"m_Dir", "Zeta", "alpha", "\xC3\x84"}));
  EXPECT_EQ(set->SetValue("ZETA", CKxVariant()), 1) << "an empty value removes";
  EXPECT_EQ(set->Remove("zeta"), 0);
  CKxVariant untouched = 7;
  EXPECT_EQ(set->GetValue("zeta", &untouched), 0);
  EXPECT_EQ(untouched.toInt(), 7);
}

TEST(MemParam, PathsLeadToNestedSets) {
  const auto root = new_MemParam();
  EXPECT_FALSE(sub(root, "ScanManager\\Source", 0));
  EXPECT_TRUE(root->GetSubStores().empty()) << "looking creates nothing";
  sub(root, "ScanManager\\Source")->SetValue("Driver", "sane");
  for (const char* path : {"scanmanager/source", "/ScanManager/Source/", "\\\\SCANMANAGER\\/Source"}) {
    EXPECT_EQ(paramString(sub(root, path, 0).get(), "driver"), "sane") << path;
  }
  EXPECT_EQ(sub(root, "", 0).get(), root.get());
  EXPECT_EQ(sub(root, "\\", 0).get(), root.get());
  sub(root, "B");
  sub(root, "a");
  EXPECT_EQ(root->GetSubStores(), (Names{"ScanManager", "B", "a"}));

  const auto held = sub(root, "ScanManager/Source");
  EXPECT_EQ(root->RemoveSubStore("ScanManager/Nothing"), 0);
  EXPECT_EQ(root->RemoveSubStore("No/Source"), 0);
  EXPECT_EQ(root->RemoveSubStore(""), 0);
  EXPECT_EQ(root->RemoveSubStore("SCANMANAGER/source"), 1);
  EXPECT_FALSE(sub(root, "ScanManager/Source", 0));
  EXPECT_EQ(paramString(held.get(), "Driver"), "sane") << "who holds it keeps it";
}

/// Counts how many of it live.
class Counted final : public CKxUnknownImpl<IKxUnknown> {
 public:
  explicit Counted(int* alive) : m_alive(alive) { ++*m_alive; }
  ~Counted() override { --*m_alive; }

 private:
  int* m_alive;
};

TEST(MemParam, LetsGoOfObjects) {
  int alive = 0;
  auto set = new_MemParam();
  for (const char* key : {"removed", "replaced", "kept"}) {
    set->SetValue(key, KxPtr<IKxUnknown>::adopt(new Counted(&alive)));
  }
  const auto copy = new_MemParam();
  Param_CopyTo(set.get(), copy.get());
  copy->Remove("removed");
  set->Remove("removed");
  copy->SetValue("replaced", 1);
  set->SetValue("replaced", 1);
  EXPECT_EQ(alive, 1);
  set = nullptr;
  EXPECT_EQ(alive, 1) << "the copy holds it";
  copy->Remove("kept");
  EXPECT_EQ(alive, 0);
}

TEST(ParamCopy, WritesOverAndLeavesTheRest) {
  const auto from = new_MemParam();
  from->SetValue("dpi", 400);
  sub(from, "page0/deep")->SetValue("x", tagRPOINT{1, 2});
  const auto to = new_MemParam();
  to->SetValue("DPI", "300");
  to->SetValue("stays", 1);
  sub(to, "Page0")->SetValue("stays", 2);
  EXPECT_EQ(Param_CopyTo(from.get(), to.get()), 1);
  EXPECT_EQ(paramInt(to.get(), "dpi"), 400);
  EXPECT_EQ(to->GetKeys(), (Names{"DPI", "stays"}));
  EXPECT_EQ(to->GetSubStores(), (Names{"Page0"}));
  EXPECT_EQ(paramInt(sub(to, "page0").get(), "stays"), 2);
  EXPECT_EQ(*paramValue(sub(to, "page0/deep").get(), "x").get<tagRPOINT>(), (tagRPOINT{1, 2}));
  EXPECT_EQ(Param_CopyTo(nullptr, to.get()), 0);
  EXPECT_EQ(Param_CopyTo(from.get(), nullptr), 0);
}

TEST(ParamCopy, IntoItsOwnPartsEnds) {
  const auto root = new_MemParam();
  root->SetValue("a", 1);
  const auto child = sub(root, "child");
  child->SetValue("b", 2);
  const ParamTree before = takeTree(root.get(), ObjectValues::Take);
  Param_CopyTo(root.get(), root.get());
  EXPECT_TRUE(sameTree(takeTree(root.get(), ObjectValues::Take), before));

  Param_CopyTo(root.get(), child.get());
  EXPECT_EQ(child->GetKeys(), (Names{"b", "a"}));
  EXPECT_EQ(paramInt(sub(root, "child/child", 0).get(), "b"), 2);
  EXPECT_FALSE(sub(root, "child/child/child", 0));

  Param_CopyTo(child.get(), root.get());  // upward
  EXPECT_EQ(root->GetKeys(), (Names{"a", "b"}));
  EXPECT_FALSE(sub(root, "child/child/child", 0));
}

}  // namespace
}  // namespace quillbay
