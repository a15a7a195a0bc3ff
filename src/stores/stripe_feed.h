#pragma once
#include <functional>
#include <mutex>

#include "stores/event.h"
#include "stores/stripe_queue.h"

namespace quillbay {

/// What a scanner's thread and a writer's thread share: the queue under its lock, and events that say when to look
/// again. The two flags are the truth, so that no thread misses an event that another wait has taken.
struct StripeFeed {
  std::mutex lock;         // guards the next three
  StripeQueue queue;       //
  bool finished = false;   ///< nothing is added any more: the page ends with the queue
  bool abandoned = false;  ///< the page is dropped: what is queued is not wanted any more

  Event queued{Event::Kind::Auto};  ///< a stripe was added
  Event finish{Event::Kind::Auto};  ///< `finished` or `abandoned` was set
  Event taken{Event::Kind::Auto};   ///< there is room again, or another reason to look

  /// Where the reading thread stands still while it is suspended; constant while threads run.
  std::function<void()> gate;
};

}  // namespace quillbay
