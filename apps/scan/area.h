#pragma once
#include <optional>
#include <string>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/geometry.h"

/// A standard paper, upright, in millimetres.
struct Paper {
  std::string name;
  double width = 0, height = 0;
};

/// What the scanner's bed takes.
struct Bed {
  double width = 0;
  double length = 0;  ///< 0: no limit
};

/// The value of --area.
struct AreaRequest {
  enum class Kind { None, Auto, Custom, AutoWidth, FixedWidth, Paper };
  Kind kind = Kind::None;
  quillbay::tagRRECT rect;      ///< of a custom area
  std::optional<double> width;  ///< of the widths
  std::string paper;
};

/// An area as the panel takes it.
struct AreaChoice {
  int type = 0;  ///< `quillbay::ScanAreaType`
  quillbay::tagRRECT rect;
  std::string paper;
  std::optional<bool> portrait;  ///< set for a paper
};

/// Reads --area. Throws Failure (usage).
[[nodiscard]] AreaRequest parseArea(const std::string& text);

/// The papers of the application, in its order.
[[nodiscard]] std::vector<Paper> listPapers(quillbay::IApp* app);

/// The area on this bed. `portrait` is the orientation that the user chose; without it `savedPortrait` if it fits,
/// else the other one. `kind` None gives the default: the whole bed of a flatbed, else the full width to the end of
/// the document. Throws Failure (usage) for an unknown paper and for what lies outside the bed.
[[nodiscard]] AreaChoice chooseArea(const AreaRequest& request, const std::vector<Paper>& papers, const Bed& bed,
                                    std::optional<bool> portrait, bool savedPortrait);

/// "841 x 1189 mm", with at most one decimal.
[[nodiscard]] std::string sizeText(double width, double height);
