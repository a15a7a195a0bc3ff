/// The file store beside plain libtiff: both write the same ready stripes to the same folder with the same
/// compression, in turn. usage: store_bench FOLDER [MEGABYTES]
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "quillbay/run_list.h"
#include "sim_pages.h"
#include "stores/scan_to_file_stor.h"

namespace quillbay {
namespace {

/// Of Deflate and Zstandard, for both programs: the fastest.
constexpr std::int32_t kLevel = 1;

/// Gives the TIFF module one compression.
class BenchApp final : public CKxUnknownImpl<IApp, IIOParams> {
 public:
  BenchApp(const std::string& compression, bool isBitonal) : m_options(new_MemParam()) {
    m_options->SetValue(isBitonal ? "BlackWhite" : "Compression", compression);
    if (compression == "Deflate" || compression == "Zstandard") m_options->SetValue("Level", kLevel);
  }
  std::string GetProductName() override { return "bench"; }
  IParam* GetFormatOptions(std::string_view) override {
    m_options->AddRef();
    return m_options.get();
  }
  std::string GetSoftware() override { return "bench"; }

 private:
  KxPtr<IParam> m_options;
};

using bench::drawing;

double seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

double writeByStore(const std::vector<KxPtr<IScanBuffer>>& stripes, const std::string& path,
                    const std::string& compression) {
  const auto app = KxPtr<BenchApp>::adopt(new BenchApp(compression, isRunList(stripes[0]->GetColorSpace())));
  const auto start = std::chrono::steady_clock::now();
  const auto store = KxPtr<CScanToFileStor>::adopt(new CScanToFileStor(app.get(), nullptr));
  PageTarget target;
  target.path = path;
  target.mayReplace = true;
  store->SetTarget(target);
  for (const auto& stripe : stripes) store->AddStripe(stripe.get());
  store->Finish(nullptr, 0, 1);
  const double took = seconds(start);
  if (!store->GetError().empty()) std::fprintf(stderr, "store: %s\n", store->GetError().c_str());
  return took;
}

/// Packed lines for libtiff, made before the clock runs.
std::vector<std::vector<std::uint8_t>> packedLines(const std::vector<KxPtr<IScanBuffer>>& stripes) {
  std::vector<std::vector<std::uint8_t>> out;
  for (const auto& stripe : stripes) {
    KxSize size;
    stripe->GetSize(&size);
    const std::size_t bytes = (static_cast<std::size_t>(size.width) + 7) / 8;
    std::vector<std::uint8_t> all(bytes * static_cast<std::size_t>(size.height));
    for (std::int32_t i = 0; i < size.height; ++i) {
      runsToBits(reinterpret_cast<const std::uint32_t*>(stripe->GetLine(i)), size.width,
                 all.data() + bytes * static_cast<std::size_t>(i));
    }
    out.push_back(std::move(all));
  }
  return out;
}

struct Compression {
  const char* name;
  int tag;
  int predictor;
};

double writeByLibtiff(const std::vector<KxPtr<IScanBuffer>>& stripes,
                      const std::vector<std::vector<std::uint8_t>>& bits, const std::string& path,
                      const Compression& c) {
  KxSize size;
  stripes[0]->GetSize(&size);
  const KxColorSpace cs = stripes[0]->GetColorSpace();
  const bool bitonal = isRunList(cs);
  const auto start = std::chrono::steady_clock::now();
  TIFF* tif = TIFFOpen(path.c_str(), "w8");
  const auto samples = static_cast<std::uint16_t>(cs == KxColorSpace::Rgb ? 3 : 1);
  TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, size.width);
  TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, samples);
  TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, bitonal ? 1 : 8);
  TIFFSetField(tif, TIFFTAG_PHOTOMETRIC,
               bitonal        ? PHOTOMETRIC_MINISWHITE
               : samples == 3 ? PHOTOMETRIC_RGB
                              : PHOTOMETRIC_MINISBLACK);
  TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tif, TIFFTAG_COMPRESSION, c.tag);
  if (c.tag == COMPRESSION_ADOBE_DEFLATE) TIFFSetField(tif, TIFFTAG_ZIPQUALITY, kLevel);
  if (c.tag == COMPRESSION_ZSTD) TIFFSetField(tif, TIFFTAG_ZSTD_LEVEL, kLevel);
  if (c.predictor > 1 && !bitonal) TIFFSetField(tif, TIFFTAG_PREDICTOR, c.predictor);
  TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, size.height);
  std::int64_t height = 0;
  for (const auto& stripe : stripes) {
    KxSize s;
    stripe->GetSize(&s);
    height += s.height;
  }
  TIFFSetField(tif, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(height));
  std::vector<std::uint8_t> copy;  // a predictor changes the caller's buffer
  for (std::size_t i = 0; i < stripes.size(); ++i) {
    KxSize s;
    stripes[i]->GetSize(&s);
    if (bitonal) {
      TIFFWriteEncodedStrip(tif, static_cast<std::uint32_t>(i), const_cast<std::uint8_t*>(bits[i].data()),
                            static_cast<tmsize_t>(bits[i].size()));
      continue;
    }
    const std::size_t bytes = fixedLineBytes(cs, s.width) * static_cast<std::size_t>(s.height);
    const auto lines = query<IContiguousLines>(stripes[i].get());
    if (c.predictor > 1) {
      copy.assign(lines->GetBytes(), lines->GetBytes() + bytes);
      TIFFWriteEncodedStrip(tif, static_cast<std::uint32_t>(i), copy.data(), static_cast<tmsize_t>(bytes));
    } else {
      TIFFWriteEncodedStrip(tif, static_cast<std::uint32_t>(i), const_cast<std::uint8_t*>(lines->GetBytes()),
                            static_cast<tmsize_t>(bytes));
    }
  }
  TIFFClose(tif);
  return seconds(start);
}

std::int64_t pixelBytes(const std::vector<KxPtr<IScanBuffer>>& stripes) {
  std::int64_t sum = 0;
  for (const auto& stripe : stripes) {
    KxSize s;
    stripe->GetSize(&s);
    sum += static_cast<std::int64_t>(s.width) * bitsPerPixel(stripe->GetColorSpace()) / 8 * s.height;
  }
  return sum;
}

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

void compare(const char* what, const std::vector<KxPtr<IScanBuffer>>& stripes, const std::string& folder,
             const std::vector<Compression>& compressions, int runs) {
  const bool bitonal = isRunList(stripes[0]->GetColorSpace());
  const auto bits = bitonal ? packedLines(stripes) : std::vector<std::vector<std::uint8_t>>{};
  const double gb = static_cast<double>(pixelBytes(stripes)) / 1e9;
  for (const Compression& c : compressions) {
    std::vector<double> ours, plain;
    const std::string a = folder + "/store.tif", b = folder + "/plain.tif";
    for (int run = 0; run < runs; ++run) {
      ours.push_back(writeByStore(stripes, a, c.name));
      plain.push_back(writeByLibtiff(stripes, bits, b, c));
    }
    std::printf(
        "%-7s %-9s store %6.2f GB/s   libtiff %6.2f GB/s   %5.2f times   file size ratio %.2f\n", what, c.name,
        gb / median(ours), gb / median(plain), median(plain) / median(ours),
        static_cast<double>(std::filesystem::file_size(a)) / static_cast<double>(std::filesystem::file_size(b)));
    std::fflush(stdout);
    ::unlink(a.c_str());
    ::unlink(b.c_str());
  }
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  using namespace quillbay;
  if (argc < 2) {
    std::fprintf(stderr, "usage: store_bench FOLDER [MILLIMETRES]\n");
    return 1;
  }
  const std::string folder = argv[1];
  const double length = argc > 2 ? std::atof(argv[2]) : 600;
  const std::vector<Compression> all = {{"None", COMPRESSION_NONE, 1},
                                        {"PackBits", COMPRESSION_PACKBITS, 1},
                                        {"LZW", COMPRESSION_LZW, 2},
                                        {"Deflate", COMPRESSION_ADOBE_DEFLATE, 2},
                                        {"Zstandard", COMPRESSION_ZSTD, 2}};
  compare("colour", drawing(7, 300, length), folder, all, 3);
  compare("grey", drawing(5, 300, length), folder, all, 3);
  compare("bw", drawing(0, 400, length * 2), folder,
          {{"G4", COMPRESSION_CCITTFAX4, 1}, {"None", COMPRESSION_NONE, 1}}, 5);
  return 0;
}
