#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/scanner.h"

namespace desktop {

/// A device as its driver describes it; it takes what it is told.
class ExampleDevice final : public quillbay::CKxUnknownImplStatic<quillbay::IUnitOptions> {
 public:
  std::vector<quillbay::UnitOption> GetOptions() override {
    using quillbay::UnitOptionType;
    const auto number = UnitOptionType::WholeNumber;
    return {{"lamp-off",
             "Lamp off at exit",
             "Turns off the lamp when the program ends",
             "yes",
             "",
             {"no", "yes"},
             "",
             true,
             true,
             UnitOptionType::Switch,
             "Standard"},
            {"source",
             "Scan source",
             "Selects the scan source",
             "Flatbed",
             "",
             {"Flatbed", "Feeder"},
             "",
             true,
             true,
             UnitOptionType::Text,
             "Standard"},
            {"brightness",
             "Brightness",
             "Controls the brightness of the image",
             "10",
             "%",
             {},
             "-100..100",
             true,
             true,
             number,
             "Enhancement",
             -100,
             100,
             1},
            {"contrast",
             "Contrast",
             "Controls the contrast of the image",
             "0",
             "%",
             {},
             "-100..100",
             false,
             true,
             number,
             "Enhancement",
             -100,
             100,
             1},
            {"gamma",
             "Gamma",
             "Gamma correction",
             "2.2",
             "",
             {},
             "0.3..5",
             true,
             true,
             UnitOptionType::Number,
             "Enhancement",
             0.3,
             5,
             0.1},
            {"delay",
             "Delay between pages",
             "The feeder waits",
             "500",
             "us",
             {},
             "200..100000",
             true,
             true,
             number,
             "Feeder",
             200,
             100000,
             200,
             1,
             true}};
  }
  int SetOption(std::string_view, std::string_view, std::string*) override { return 1; }
  int SaveOptions(quillbay::IParam*) override { return 1; }
  int LoadOptions(quillbay::IParam*) override { return 1; }
};

}  // namespace desktop
