#pragma once
#include "channels/codec/module_support.h"

namespace quillbay {

/// Reads a PNG through libpng: black and white as run lists, palettes and grey as bytes, colour as red, green,
/// blue; transparency is left out, 16 bits are read by their high byte. Throws ModuleError.
void readPng(const QbFile* file, const QbRasterSink& sink);

}  // namespace quillbay
