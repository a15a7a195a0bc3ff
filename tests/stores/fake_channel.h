#pragma once
#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "platform/page_target.h"
#include "quillbay/color_space.h"
#include "stores/event.h"

namespace quillbay::test {

/// What the file channels of a test do, and what became of them. One is active at a time: the last one made.
struct ChannelScript {
  enum class Pull { Lines, LinePointers, Stripes };

  ChannelScript();
  ~ChannelScript();

  // Set before the first stripe.
  Pull pull = Pull::Lines;
  bool single = true, paged = true, accepts = true;
  std::string openError, commitError;
  std::int64_t failAtLine = -1;  ///< the write of this line fails for want of space
  std::int64_t endAtLine = -1;   ///< the format has no room for more lines
  Event* gate = nullptr;         ///< the writer waits here before each stripe (or line)
  bool keepLines = true;         ///< collect the bytes of every line
  std::function<void(std::int64_t line, const std::uint8_t* bytes)> check;

  // Read after `Finish`.
  std::vector<std::vector<std::uint8_t>> lines;
  std::vector<KXRGBQUAD> palette;
  std::string path;
  PageTarget target;
  bool savedPaged = false;
  std::atomic<std::int64_t> written{0};
  std::vector<std::string> fate;  ///< "commit", "abandon" in order
};

}  // namespace quillbay::test
