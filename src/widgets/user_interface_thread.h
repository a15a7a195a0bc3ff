#pragma once
#ifndef NDEBUG
#include <source_location>
#endif

namespace quillbay {

/// Called with the function that was called off the user-interface thread.
using ThreadFault = void (*)(const char* function);

#ifdef NDEBUG

inline void assertUserInterfaceThread() noexcept {}

#else

/// Called by every class that touches or paints a window. In debug builds a call from a thread other than that of
/// the application object ends the program, with the name of the caller; in release builds it costs nothing.
/// Without an application object there are no windows, and every thread may call.
void assertUserInterfaceThread(const std::source_location& caller = std::source_location::current());

/// Replaces what a call from another thread does, for tests; null: the program ends. Answers the one before.
/// The handler runs on the calling thread.
ThreadFault setThreadFaultHandler(ThreadFault handler) noexcept;

#endif

}  // namespace quillbay
