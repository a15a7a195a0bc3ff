#include <cmath>
#include <numbers>
#include <string>

#include "scanners/sim/sim_content.h"

namespace quillbay::sim {

namespace {

constexpr const char* kWords[] = {"STEEL",  "BEAM",     "WALL",  "FLOOR", "SECTION", "DETAIL", "VALVE", "PIPE",
                                  "GASKET", "PLATE",    "BOLT",  "FRAME", "ANCHOR",  "SHAFT",  "COVER", "HOUSING",
                                  "WELD",   "MACHINED", "SCALE", "LEVEL", "DRAIN",   "CABLE",  "TRAY",  "DUCT"};
constexpr const char* kRooms[] = {"OFFICE", "STORE", "HALL", "PLANT", "LAB", "STAIR", "KITCHEN", "ARCHIVE"};

std::string randomWords(SimRandom& random, double room, double height) {
  std::string line;
  for (;;) {
    const std::string word = kWords[random.below(static_cast<int>(std::size(kWords)))];
    if (textWidth(height, line) + textWidth(height, word) > room) return line;
    line += word + ' ';
  }
}

void drawFlange(SimDisplayList& list, const Rect& r, SimRandom& random) {
  const double radius = std::min(r.width() * 0.3, r.height() * 0.36) * random.between(0.7, 1);
  const SimPoint c{r.left + r.width() * 0.36, r.top + r.height() * 0.46};
  list.circle(c, radius, 0.7, kBlack);
  list.circle(c, radius * 0.62, 0.5, kBlack);
  list.circle(c, radius * 0.28, 0.7, kBlack);
  const int holes = 4 + 2 * random.below(5);
  for (int i = 0; i < holes; ++i) {
    const double a = 2 * std::numbers::pi * i / holes;
    const SimPoint hole{c.x + radius * 0.81 * std::cos(a), c.y + radius * 0.81 * std::sin(a)};
    list.circle(hole, radius * 0.07, 0.5, kBlack);
  }
  list.arc(c, radius * 0.81, 0, 360, 0.18, kRed);
  centreLine(list, {c.x - radius * 1.15, c.y}, {c.x + radius * 1.15, c.y}, kRed);
  centreLine(list, {c.x, c.y - radius * 1.15}, {c.x, c.y + radius * 1.15}, kRed);
  dimension(list, {c.x - radius, c.y}, {c.x + radius, c.y}, radius * 1.2, kBlue);
  // The section beside it.
  const double thick = radius * random.between(0.12, 0.2);
  const double left = c.x + radius * 1.35;
  const Rect upper{left, c.y - radius, left + thick * 2, c.y - radius * 0.28};
  const Rect lower{left, c.y + radius * 0.28, left + thick * 2, c.y + radius};
  for (const Rect& part : {upper, lower}) {
    hatch(list, part, 2.5, kBlack);
    rectangle(list, part, 0.7, kBlack);
  }
  dimension(list, {upper.right, upper.top}, {lower.right, lower.bottom}, -8, kBlue);
  text(list, {r.left + 2, r.top + 7}, 5, "FLANGE " + std::to_string(10 + random.below(90)), kBlack);
  text(list, {r.left + 2, r.top + 14}, 3,
       "* " + std::to_string(static_cast<int>(radius * 0.14)) + " - " + std::to_string(holes) + " HOLES", kBlack);
}

void drawRoom(SimDisplayList& list, const Rect& room, SimRandom& random) {
  rectangle(list, room, 0.7, kBlack);
  rectangle(list, room.inner(1.6), 0.35, kBlack);
  if (random.below(3) == 0)
    list.area({{room.left, room.top}, {room.right, room.top}, {room.right, room.bottom}, {room.left, room.bottom}},
              {255, 244, 196});
  const double door = std::min(12.0, room.width() / 3);
  const SimPoint hinge{room.left + room.width() * random.between(0.2, 0.5), room.bottom};
  list.arc(hinge, door, 270, 360, 0.25, kBlack);
  list.line(hinge, {hinge.x, hinge.y - door}, 0.5, kBlack);
  const char* name = kRooms[random.below(static_cast<int>(std::size(kRooms)))];
  const SimPoint c = room.middle();
  if (textWidth(3.5, name) < room.width() - 6) text(list, {c.x - textWidth(3.5, name) / 2, c.y}, 3.5, name, kBlack);
  const std::string area = std::to_string(static_cast<int>(room.width() * room.height() / 100)) + " M2";
  if (textWidth(2.5, area) < room.width() - 6)
    text(list, {c.x - textWidth(2.5, area) / 2, c.y + 5}, 2.5, area, kGrey);
}

void drawFloor(SimDisplayList& list, const Rect& r, SimRandom& random) {
  const Rect house{r.left + 16, r.top + 18, r.right - 6, r.bottom - 10};
  const int columns = 2 + random.below(2);
  const int rows = 2 + random.below(2);
  for (int row = 0; row < rows; ++row)
    for (int column = 0; column < columns; ++column)
      drawRoom(list,
               {house.left + house.width() * column / columns, house.top + house.height() * row / rows,
                house.left + house.width() * (column + 1) / columns, house.top + house.height() * (row + 1) / rows},
               random);
  rectangle(list, house, 1.4, kBlack);
  for (int column = 0; column < columns; ++column)
    dimension(list, {house.left + house.width() * column / columns, house.top},
              {house.left + house.width() * (column + 1) / columns, house.top}, -8, kBlue);
  dimension(list, {house.left, house.top}, {house.left, house.bottom}, 8, kBlue);
}

void drawTable(SimDisplayList& list, const Rect& r, SimRandom& random) {
  const int rows = std::max(2, static_cast<int>((r.height() - 12) / 8));
  const double columns[] = {0, 0.1, 0.6, 0.8, 1};
  const Rect table{r.left + 4, r.top + 10, r.right - 4, r.top + 10 + rows * 8.0};
  for (const double c : columns) {
    const double x = table.left + table.width() * c;
    list.line({x, table.top}, {x, table.bottom}, c == 0 || c == 1 ? 0.7 : 0.25, kBlack);
  }
  for (int row = 0; row <= rows; ++row) {
    const double y = table.top + row * 8.0;
    list.line({table.left, y}, {table.right, y}, row < 2 || row == rows ? 0.7 : 0.25, kBlack);
    if (row == rows) break;
    if (row % 2 == 1)
      list.area({{table.left, y}, {table.right, y}, {table.right, y + 8}, {table.left, y + 8}}, {228, 238, 250});
    const double room = table.width() * 0.5 - 4;
    text(list, {table.left + 2, y + 5.8}, 3, std::to_string(row), kBlack);
    text(list, {table.left + table.width() * 0.1 + 2, y + 5.8}, 3, randomWords(random, room, 3), kBlack);
    text(list, {table.left + table.width() * 0.6 + 2, y + 5.8}, 3, std::to_string(random.below(1000)), kBlack);
  }
  text(list, {r.left + 4, r.top + 7}, 4, "PARTS LIST", kBlack);
}

void drawNotes(SimDisplayList& list, const Rect& r, SimRandom& random) {
  text(list, {r.left + 4, r.top + 8}, 5, "NOTES", kBlack);
  const double height = random.between(2.5, 4);
  int number = 1;
  for (double y = r.top + 18; y < r.bottom - 4; y += height * 2, ++number) {
    text(list, {r.left + 4, y}, height, std::to_string(number) + ".", kBlack);
    text(list, {r.left + 4 + height * 4, y}, height, randomWords(random, r.width() - 8 - height * 4, height),
         kBlack);
  }
}

}  // namespace

void drawPlan(SimDisplayList& list, const Rect& r, SimRandom& random) {
  const Rect inner = r.inner(std::min(r.width(), r.height()) * 0.03);
  const int kind = random.below(8);
  if (kind < 3) {
    drawFlange(list, inner, random);
  } else if (kind < 6) {
    drawFloor(list, inner, random);
  } else if (kind < 7) {
    drawTable(list, inner, random);
  } else {
    drawNotes(list, inner, random);
  }
}

void drawTitleBlock(SimDisplayList& list, const Rect& r, std::int64_t seed, std::int64_t page) {
  rectangle(list, r, 0.7, kBlack);
  const double row = r.height() / 4;
  const double split = r.left + r.width() * 0.62;
  for (int i = 1; i < 4; ++i) list.line({r.left, r.top + row * i}, {r.right, r.top + row * i}, 0.35, kBlack);
  list.line({split, r.top}, {split, r.bottom}, 0.35, kBlack);
  list.area({{r.left, r.top}, {r.right, r.top}, {r.right, r.top + row}, {r.left, r.top + row}}, {214, 228, 214});
  const double height = std::min(row * 0.5, r.width() / 34);
  const auto put = [&](int i, bool right, const std::string& words) {
    text(list, {(right ? split : r.left) + height, r.top + row * i + row * 0.72}, height, words, kBlack);
  };
  put(0, false, "QUILLBAY WORKS");
  put(1, false, "GENERAL PLAN");
  put(2, false, "DRAWN BY SIMULATOR");
  put(3, false, "SEED " + std::to_string(seed % 10000000));
  put(0, true, "SHEET " + std::to_string(page + 1));
  put(1, true, "SCALE 1:1");
  put(2, true, "REV " + std::string(1, static_cast<char>('A' + page % 26)));
  put(3, true, "IN MM");
}

}  // namespace quillbay::sim
