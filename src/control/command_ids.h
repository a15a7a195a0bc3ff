#pragma once

namespace quillbay::command {

// Buttons.
inline constexpr int kHelp = 9;
inline constexpr int kStop = 106;
inline constexpr int kPrescan = 107;
inline constexpr int kEject = 108;
inline constexpr int kScan = 1231;
inline constexpr int kBatch = 32793;
inline constexpr int kSwitchLayout = 32794;
inline constexpr int kAreaPrescan = 32813;
inline constexpr int kStopAfterPage = 32850;

// Posted by pages.
inline constexpr int kPageChanged = 1075;

// Private commands, always posted, most with notification code 1.
inline constexpr int kClearBatch = 6463;
inline constexpr int kScannerKey = 6464;
inline constexpr int kApplyParams = 6465;
inline constexpr int kNewArea = 6489;   ///< the scan area has changed
inline constexpr int kProgress = 6490;  ///< lines arrived, for hosts that show progress
inline constexpr int kStarted = 6491;   ///< the scanner said what it will deliver
inline constexpr int kWritten = 6492;   ///< the writer is through with the page
inline constexpr int kPrescanStripes = 6493;
inline constexpr int kPollDocument = 6494;   ///< the device is asked again whether a document is loaded
inline constexpr int kWaitCancelled = 6495;  ///< the user waits for no document any more
inline constexpr int kReady = 6497;  ///< a scan or preview ended; code: its status, value: 1 when it left nothing
inline constexpr int kRedrawPort = 6498;
inline constexpr int kRedrawView = 6499;
inline constexpr int kPreviewTimer = 6501;
inline constexpr int kScanDone = 6502;
inline constexpr int kBatchNext = 6503;
inline constexpr int kBurstNext = 6504;
inline constexpr int kBurstEnd = 6505;
inline constexpr int kRelayoutParent = 6520;

// Controls.
inline constexpr int kTabs = 54;
inline constexpr int kDestinationPlace = 1183;
inline constexpr int kToolbar = 24;
inline constexpr int kStatusArea = 25;

}  // namespace quillbay::command
