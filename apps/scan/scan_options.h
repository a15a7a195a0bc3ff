#pragma once
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The name that --script gives the program's own correction.
inline constexpr const char* kOwnScript = "autocorrect";

/// The options of the command line, before anything is looked up.
struct ScanOptions {
  enum class Action {
    Scan,
    ListDevices,
    AllOptions,
    DryRun,
    Recover,
    ListPresets,
    SavePreset,
    ExportPreset,
    ImportPreset,
    ListPrinters,
    ListClients,
    SetUpNet,
    Deliver,
    Help,  // from here on: texts
    Version,
    HelpMan,
    HelpCompletion
  };
  using KeyValue = std::pair<std::string, std::string>;

  Action action = Action::Scan;
  std::string device;
  std::vector<KeyValue> deviceOptions;

  std::optional<int> mode;  ///< 0-7
  std::optional<int> dpi;
  std::string area;  ///< as typed; empty: not given
  std::optional<bool> deskew;
  std::optional<bool> failsIfNotFound;  ///< --if-not-found; without it the whole bed is scanned
  std::optional<bool> center;
  std::optional<bool> portrait;

  std::string output;  ///< FILE of --output; "-": standard output
  std::string dir, mask, format;
  std::vector<KeyValue> formatOptions;
  bool multipage = false;
  bool overwrite = false, increment = false;
  bool toView = false;
  bool toPrint = false;
  std::string printer;                 ///< of --printer; "auto": detected; empty: as the settings say
  std::vector<KeyValue> printOptions;  ///< --print-option
  std::string printTemplate;           ///< NAME or FILE of --template; empty: none
  std::optional<int> copies;           ///< --copies
  bool toNet = false;
  std::string client;                    ///< NAME of --client; empty: not given
  std::optional<int> netWait;            ///< seconds for pages that wait at the end
  std::optional<std::string> netFolder;  ///< FOLDER of --net-folder
  std::vector<std::string> addClients, removeClients;
  std::string script;  ///< FILE of --script: works on each page after its scan
  bool allowPrograms = false;

  std::optional<int> batch;          ///< pages; 0: until no document comes
  bool batchPrompt = false;          ///< asks between the pages, with a feeder too
  std::optional<double> batchDelay;  ///< seconds between the pages
  bool bursting = false;

  std::vector<KeyValue> settings;  ///< --set
  bool saveSettings = false;
  std::string recover;  ///< FILE of --recover

  std::string preset;        ///< NAME of --preset; empty: none
  std::string savePreset;    ///< NAME
  std::string exportPreset;  ///< NAME
  std::string presetFile;    ///< FILE of --export-preset or --import-preset; "-": standard output or input

  bool finishPage = false;
  bool json = false, quiet = false;
  int verbose = 0;
};
