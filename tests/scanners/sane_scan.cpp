#include "sane_scan.h"

#include <cstdio>
#include <sstream>

#ifdef __SANITIZE_THREAD__
// A driver's cancel closes the pipe that its read waits on, which is what the drivers mean by it.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
  return "race:libsane-";
}
#endif

#ifdef __SANITIZE_ADDRESS__
// A driver's reader thread is ended by a cancel with what it had allocated.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libsane-";
}
#endif

namespace quillbay::testing {

Picture pictureOf(const WaitingSink& sink) {
  Picture p;
  p.width = sink.width;
  p.height = sink.lineCount;
  p.channels = sink.colorSpace == KxColorSpace::Rgb ? 3 : 1;
  if (!isRunList(sink.colorSpace)) {
    p.bytes = sink.bytes;
    return p;
  }
  p.bytes.assign(static_cast<std::size_t>(p.width * p.height), 255);
  const auto* words = reinterpret_cast<const std::uint32_t*>(sink.bytes.data());
  for (std::int64_t y = 0; y < p.height; ++y) {
    const std::size_t runs = runCount(words);
    for (std::size_t r = 0; r < runs; ++r)
      for (std::uint32_t x = words[2 * r]; x <= words[2 * r + 1]; ++x)
        p.bytes.at(static_cast<std::size_t>(y * p.width) + x) = 0;
    words += runListBytes(runs) / 4;
  }
  return p;
}

Picture readPnm(const std::string& bytes) {
  std::istringstream in(bytes);
  std::string magic, token;
  in >> magic;
  std::vector<std::int64_t> numbers;
  while (numbers.size() < (magic == "P4" ? 2u : 3u) && in >> token) {
    if (token[0] == '#')
      std::getline(in, token);
    else
      numbers.push_back(std::stoll(token));
  }
  in.get();
  Picture p;
  if (numbers.size() < 2) return p;
  p.width = numbers[0];
  p.height = numbers[1];
  p.channels = magic == "P6" ? 3 : 1;
  std::string body(bytes.substr(static_cast<std::size_t>(in.tellg())));
  // Lines that a driver pads are written by `scanimage` with their padding: the bytes tell the lines' true length.
  const std::size_t stride = p.height ? body.size() / static_cast<std::size_t>(p.height) : 0;
  const std::size_t sampleBytes = numbers.size() > 2 && numbers[2] > 255 ? 2 : 1;  // the high byte comes first
  for (std::int64_t y = 0; y < p.height; ++y) {
    const std::string line = body.substr(static_cast<std::size_t>(y) * stride, stride);
    for (std::size_t x = 0; x < static_cast<std::size_t>(p.width * p.channels); ++x)
      p.bytes.push_back(magic == "P4" ? (line.at(x / 8) & (0x80 >> (x % 8)) ? 0 : 255)
                                      : static_cast<std::uint8_t>(line.at(x * sampleBytes)));
  }
  return p;
}

Picture scanimage(const std::string& arguments) {
  const std::string command = "timeout 60 scanimage --format=pnm " + arguments + " 2>/dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  std::string bytes;
  char piece[65536];
  for (std::size_t got; (got = fread(piece, 1, sizeof piece, pipe)) > 0;) bytes.append(piece, got);
  EXPECT_EQ(pclose(pipe), 0) << command;
  return readPnm(bytes);
}

::testing::AssertionResult same(const Picture& ours, const Picture& theirs) {
  if (ours.width != theirs.width || ours.height != theirs.height || ours.channels != theirs.channels ||
      ours.bytes.size() != theirs.bytes.size())
    return ::testing::AssertionFailure()
           << ours.width << "x" << ours.height << "x" << ours.channels << " (" << ours.bytes.size()
           << " bytes), not " << theirs.width << "x" << theirs.height << "x" << theirs.channels << " ("
           << theirs.bytes.size() << ")";
  for (std::size_t i = 0; i < ours.bytes.size(); ++i) {
    if (ours.bytes[i] == theirs.bytes[i]) continue;
    const auto pixel = static_cast<std::int64_t>(i) / ours.channels;
    return ::testing::AssertionFailure()
           << "first difference at x " << pixel % ours.width << ", y " << pixel / ours.width << ": "
           << int{ours.bytes[i]} << ", not " << int{theirs.bytes[i]};
  }
  return ::testing::AssertionSuccess();
}

}  // namespace quillbay::testing
