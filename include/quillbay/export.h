#pragma once

/// What the library offers to its host; everything else stays inside.
#define QUILLBAY_API __attribute__((visibility("default")))
