#pragma once
#include "quillbay/app.h"

namespace quillbay {

/// The standard papers: ISO A0-A10 and B0-B10, ANSI A-E, ARCH A-E1, Letter, Legal and Tabloid, upright, and over
/// them those of the user: `own` (may be null) holds a sub-store for each, with the keys of `IStdPapersParam`. One
/// of a name that exists already replaces it; "Used" 0 hides it. An own paper without a usable size is left out,
/// with a line in the log.
KxPtr<IStdPapersParam> new_StdPapers(IParam* own);

}  // namespace quillbay
