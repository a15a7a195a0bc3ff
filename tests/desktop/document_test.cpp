// The document without a window: what is saved where, and how it is undone.
#include "document/document.h"

#include <gtest/gtest.h>

#include <QtWidgets>
#include <map>
#include <random>

#include "document/page_order.h"
#include "document/save_plan.h"
#include "quillbay/formats.h"
#include "support/temp_dir.h"

namespace desktop {
namespace {

using Ids = std::vector<int>;
using quillbay::KxPtr;

KxPtr<quillbay::IRStor> sheet(int side = 4) {
  return quillbay::new_IRStor(quillbay::KxColorSpace::Grey, side, side, 100);
}

class DocumentTest : public testing::Test {
 protected:
  /// A file on the disk with blank pages.
  QString write(const char* name, std::size_t count) {
    const std::vector<KxPtr<quillbay::IRStor>> rasters(count, sheet());
    quillbay::SaveRasterFile(nullptr, rasters, dir.file(name), true, nullptr);
    return QString::fromStdString(dir.file(name));
  }
  Ids open(const char* name, std::size_t count) {
    const QString file = write(name, count);
    const int first = document.addFile(file, {count, sheet()}, stampOf(file));
    Ids ids;
    for (std::size_t i = 0; i < count; ++i) ids.push_back(first + static_cast<int>(i));
    return ids;
  }
  void edit(int id) { document.replace(id, sheet()); }
  /// What saving would write: "plan.tif 1 2 3 | 7" of the files, and of the pages without one.
  static std::string text(const SavePlan& plan) {
    QString all;
    for (const auto& file : plan.files) {
      all += QFileInfo(file.source->file).fileName();
      for (const int id : file.ids) all += QString(" %1").arg(id);
      all += "; ";
    }
    all += "|";
    for (const int id : plan.loose) all += QString(" %1").arg(id);
    return all.toStdString();
  }
  [[nodiscard]] std::string planned() const { return text(planSave(document.pages())); }
  void save() {
    for (const auto& file : planSave(document.pages()).files) {
      Ids versions;
      for (const int id : file.ids) versions.push_back(document.page(id)->version);
      document.noteWritten(file.source, file.ids, versions);
    }
  }

  quillbay::test::TempDir dir;
  Document document;
};

TEST(PageOrder, PagesMoveTogetherAndByOnePlace) {
  const Ids order{1, 2, 3, 4, 5};
  const struct {
    Ids ids;
    int before;
    Ids expected;
  } moves[] = {
      {{4}, 1, {4, 1, 2, 3, 5}},    {{1, 3}, 5, {2, 4, 1, 3, 5}}, {{2, 3}, 0, {1, 4, 5, 2, 3}},
      {{2, 3}, 3, {1, 2, 3, 4, 5}}, {{1, 5}, 3, {2, 1, 5, 3, 4}}, {{5, 1}, 0, {2, 3, 4, 1, 5}},
      {{9}, 1, {1, 2, 3, 4, 5}},
  };
  for (const auto& move : moves) EXPECT_EQ(movedOrder(order, move.ids, move.before), move.expected) << move.before;
  const struct {
    Ids ids;
    int step;
    Ids expected;
  } steps[] = {
      {{3}, -1, {1, 3, 2, 4, 5}},   {{1, 2, 4}, -1, {1, 2, 4, 3, 5}}, {{1}, -1, order},
      {{2, 3}, 1, {1, 4, 2, 3, 5}}, {{3, 5}, 1, {1, 2, 4, 3, 5}},     {{4, 5}, 1, order},
  };
  for (const auto& step : steps) EXPECT_EQ(steppedOrder(order, step.ids, step.step), step.expected) << step.step;
}

TEST_F(DocumentTest, SavingWritesWholeFiles) {
  const Ids five = open("five.tif", 5), two = open("two.tif", 2);
  const int loose = document.add(sheet(), "loose");
  EXPECT_EQ(planned(), "| 8");
  edit(five[2]);
  EXPECT_EQ(planned(), "five.tif 1 2 3 4 5; | 8") << "one page was changed: all are written";
  document.close({five[0], five[3]});
  EXPECT_EQ(planned(), "five.tif 2 3 5; | 8");
  document.reorder({five[4], two[1], five[1], five[2], loose, two[0]});
  EXPECT_EQ(planned(), "five.tif 5 2 3; two.tif 7 6; | 8");
  EXPECT_EQ(reorderedFiles(document.pages()).size(), 2U);
  EXPECT_EQ(text(planSave(document.pages(), {two[0]})), "two.tif 7 6; |");
  save();
  EXPECT_EQ(planned(), "| 8") << "what was saved is the files' order now";
  EXPECT_EQ(document.page(five[4])->name, "five.tif, page 1");
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(document.undo());
  EXPECT_FALSE(document.page(five[2])->isSaved()) << "the file holds the page as it was changed";
  EXPECT_EQ(planned(), "five.tif 1 2 3 4 5; two.tif 6 7; | 8") << "pages that came back join their file again";
  save();
  document.close(five);
  EXPECT_EQ(planned(), "| 8") << "a file of which no page is open is not touched";
}

TEST_F(DocumentTest, ClosedPagesAloneAreAskedAboutAndNothingIsForgotten) {
  const Ids ids = open("three.tif", 3);
  document.close({ids[1]});
  EXPECT_FALSE(document.isModified()) << "the page is in its file";
  EXPECT_EQ(planned(), "three.tif 1 3; |");
  document.undo();
  EXPECT_EQ(planned(), "|");
  document.remove(ids[1]);  // a long batch's oldest page leaves the view
  EXPECT_EQ(planned(), "|");
  const QString file = document.page(ids[0])->file();
  const FileStamp known = document.page(ids[0])->source->stamp;
  EXPECT_TRUE(riskOfReplacing(file, known, 3).isNone());
  const SaveRisk loss = riskOfReplacing(file, known, 2);
  EXPECT_TRUE(riskText(file, loss).contains("three.tif has 3 pages; saving would keep only 2."))
      << riskText(file, loss).toStdString();
  EXPECT_EQ(riskAnswer(loss), "&Save 2 pages");
  write("three.tif", 4);
  EXPECT_TRUE(riskOfReplacing(file, known, 4).isChanged);
  EXPECT_FALSE(riskOfReplacing(file, {}, 4).isChanged);
  EXPECT_TRUE(riskOfReplacing(QString::fromStdString(dir.file("new.tif")), known, 1).isNone()) << "it is gone";
}

TEST_F(DocumentTest, AFileThatIsWrittenOverHoldsItsPagesNoMore) {
  const struct {
    const char* name;
    std::size_t held;   // by the file that is open
    std::size_t after;  // when the scan has written a page
    bool stays;
  } cases[] = {{"one.tif", 1, 1, false}, {"added.tif", 2, 3, true}, {"replaced.tif", 3, 1, false}};
  for (const auto& test : cases) {
    const Ids ids = open(test.name, test.held);
    const int scanned = document.addScanned(sheet(), test.name, write(test.name, test.after), false);
    for (const int id : ids) EXPECT_EQ(document.page(id)->isSaved(), test.stays) << test.name;
    EXPECT_TRUE(document.page(scanned)->isSaved()) << test.name;
    EXPECT_EQ(document.page(ids[0])->file().isEmpty(), !test.stays) << "it needs a name of its own: " << test.name;
  }
  const Ids ids = open("closed.tif", 1);
  document.close(ids);
  document.noteScanned(write("closed.tif", 1), false);
  document.undo();
  EXPECT_FALSE(document.page(ids[0])->isSaved()) << "also what comes back";
}

TEST_F(DocumentTest, FilesThatAreNotThereAreToldApart) {
  const QString one = write("one.tif", 1), link = QString::fromStdString(dir.file("link.tif"));
  ASSERT_TRUE(QFile::link(one, link));
  const auto missing = [this](const char* name) { return QString::fromStdString(dir.file(name)); };
  EXPECT_TRUE(isSameFile(one, link));
  EXPECT_TRUE(isSameFile(missing("a.tif"), missing("a.tif")));
  EXPECT_FALSE(isSameFile(missing("a.tif"), missing("b.tif")));
  const int first = document.addScanned(sheet(), "a.tif", missing("a.tif"), false);  // both still grow as parts
  document.addScanned(sheet(), "b.tif", missing("b.tif"), false);
  EXPECT_TRUE(document.page(first)->isSaved());
}

TEST_F(DocumentTest, EverythingIsUndoneAndDoneAgain) {
  using State = std::vector<std::tuple<int, int, bool>>;
  const auto state = [this] {
    State now;
    for (const Page& page : document.pages()) now.emplace_back(page.id, page.version, page.isSaved());
    return now;
  };
  open("plan.tif", 4);
  for (int i = 0; i < 4; ++i) document.add(sheet(), "sheet");
  std::mt19937 random(7);
  std::vector<State> states{state()};
  const auto any = [&] { return document.pages()[random() % document.pages().size()].id; };
  while (states.size() < 60) {
    switch (document.pages().size() < 3 ? 0 : random() % 4) {
      case 0: edit(any()); break;
      case 1: document.reorder(movedOrder(document.order(), {any(), any()}, any())); break;
      case 2: document.reorder(steppedOrder(document.order(), {any()}, 1)); break;
      default:
        document.beginStep("several");
        edit(any());
        document.close({any()});
        document.endStep();
        if (document.pages().size() < 4) document.undo();
    }
    if (state() != states.back()) states.push_back(state());
  }
  for (auto at = states.rbegin() + 1; at != states.rend(); ++at) {
    ASSERT_TRUE(document.undo());
    ASSERT_EQ(state(), *at);
  }
  EXPECT_FALSE(document.undo());
  for (std::size_t i = 1; i < states.size(); ++i) {
    ASSERT_TRUE(document.redo());
    ASSERT_EQ(state(), states[i]);
  }
  EXPECT_FALSE(document.redo());
  document.undo();
  edit(any());
  EXPECT_FALSE(document.redo()) << "what was done since stands in its way";
}

TEST(UndoStack, ForgetsTheOldestBeyondItsBoundButTheLast) {
  const std::int64_t one = sheet(256)->GetByteCount();
  ASSERT_GT(one, 0);
  const struct {
    UndoStack::Bound bound;
    std::size_t expected;
  } cases[] = {{{one * 100, 3}, 3}, {{one * 4, 100}, 4}, {{one * 4 - 1, 100}, 3}, {{0, 100}, 1}};
  for (const auto& test : cases) {
    UndoStack stack;
    stack.setBound(test.bound);
    for (int i = 0; i < 6; ++i) {
      stack.push({QString::number(i), {PageReplaced{1, {sheet(256), i}, {sheet(256), i + 1}}}});
    }
    EXPECT_EQ(stack.size(), test.expected);
    EXPECT_EQ(stack.undo()->text, "5");
    stack.undone(stack.takeUndo());
    EXPECT_EQ(stack.size(), test.expected) << "what can be done again takes as much";
    EXPECT_EQ(stack.redo()->text, "5");
  }
}

TEST_F(DocumentTest, StepsOfAPageThatIsGoneAreForgotten) {
  const int one = document.add(sheet(), "one"), two = document.add(sheet(), "two");
  edit(one);
  edit(two);
  document.remove(two);
  ASSERT_NE(document.nextUndo(), nullptr);
  EXPECT_TRUE(document.undo());
  EXPECT_EQ(document.page(one)->version, 1);
  EXPECT_FALSE(document.undo());
}

}  // namespace
}  // namespace desktop
