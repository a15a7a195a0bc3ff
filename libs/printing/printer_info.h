#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace quillbay {

/// Lengths in millimetres at the four edges of a sheet.
struct PrintMargins {
  double left = 0, top = 0, right = 0, bottom = 0;
  bool operator==(const PrintMargins&) const = default;
};

/// A medium that a printer takes. Lengths in millimetres; width across the printer, length along the feed.
struct PrinterMedia {
  /// Its self-describing name (PWG 5101.1), "iso_a1_594x841mm".
  std::string name;
  double width = 0, length = 0;        ///< of a sheet; the largest where there is a range
  double minWidth = 0, minLength = 0;  ///< the smallest; equal to the largest for a sheet
  PrintMargins margins;                ///< what the printer cannot reach
  bool isReady = false;                ///< loaded, as far as the printer tells

  /// Cut to the length of what is printed.
  [[nodiscard]] bool isRoll() const noexcept { return minLength < length; }
  /// Any width between the limits: nothing is known of what is loaded.
  [[nodiscard]] bool hasAnyWidth() const noexcept { return minWidth < width; }
  bool operator==(const PrinterMedia&) const = default;
};

struct PrinterResolution {
  std::uint32_t x = 0, y = 0;  ///< dots per inch across and along
  bool operator==(const PrinterResolution&) const = default;
};

/// A printer: what a listing tells of it, and what it takes, once `hasAttributes`.
struct PrinterInfo {
  enum class State : int { Unknown = 0, Idle = 3, Printing = 4, Stopped = 5 };

  std::string name;         ///< of the queue, or the address of a printer without one; what `PrinterName` holds
  std::string description;  ///< for users; may be empty
  std::string location;
  std::string model;
  std::string uri;
  bool isDefault = false;
  bool isAccepting = true;
  bool isDiscovered = false;  ///< found in the network; the print system makes a queue when it is used
  State state = State::Unknown;
  /// State and reasons as the printer gives them: text for users, keywords without "none".
  std::string stateText;
  std::vector<std::string> stateReasons;

  /// Whether what follows was read from the printer.
  bool hasAttributes = false;
  std::vector<PrinterMedia> media;
  std::string defaultMedia;
  std::vector<PrinterResolution> resolutions;  ///< ascending; of rasters
  PrinterResolution defaultResolution;
  bool hasColor = false;
  std::vector<int> qualities;  ///< 3 draft, 4 normal, 5 high
  /// Raster types as PWG 5102.4 names them: "black_1", "sgray_8", "srgb_8".
  std::vector<std::string> rasterTypes;
  std::vector<std::string> documentFormats;  ///< media types
  std::int32_t maxCopies = 1;
  /// What a job may ask for by name: resolutions, "print-color-mode", "print-scaling".
  std::vector<PrinterResolution> jobResolutions;
  std::vector<std::string> colorModes, scalings;
  bool hasMediaCol = false;  ///< takes a medium by its measures

  /// What users call it.
  [[nodiscard]] const std::string& title() const noexcept { return description.empty() ? name : description; }
};

/// The common name of a medium, "A1", "Letter", "ARCH D", "Roll", from its self-describing name.
[[nodiscard]] std::string mediaTitle(const PrinterMedia& media);

/// The medium of this name, or null.
[[nodiscard]] const PrinterMedia* findMedia(const PrinterInfo& printer, const std::string& name);

}  // namespace quillbay
