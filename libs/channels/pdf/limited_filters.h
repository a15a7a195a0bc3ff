#pragma once

namespace quillbay {

/// Makes libqpdf decode what a document's structure is stored in within bounds: a Deflate stream gives 256 MiB at
/// most, and other compressions, which no program uses for structure, are left to rendering. Otherwise a file of a
/// few kilobytes, compressed twice, fills the memory. Done once for the process.
void limitFilters();

}  // namespace quillbay
