#include "channels/color_profile.h"

#include <lcms2.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "quillbay/run_list.h"

namespace quillbay {
namespace {

/// Profiles of devices are tables of a megabyte at most; more is another kind of file.
constexpr std::streamsize kMostProfileBytes = std::streamsize{16} << 20;

struct CloseProfile {
  void operator()(void* profile) const noexcept { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, CloseProfile>;

struct FreeCurve {
  void operator()(cmsToneCurve* curve) const noexcept { cmsFreeToneCurve(curve); }
};

/// Grey with the tone curve of IEC 61966-2-1, white as the profile connection space has it.
Profile makeGreyProfile() {
  const double srgb[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
  const std::unique_ptr<cmsToneCurve, FreeCurve> curve(cmsBuildParametricToneCurve(nullptr, 4, srgb));
  return Profile(cmsCreateGrayProfile(cmsD50_xyY(), curve.get()));
}

/// The same bytes at every call: the moment of making, which stands in the header, is a fixed one.
ColorProfile bytesOf(Profile profile) {
  constexpr std::size_t kDate = 24;  // six numbers of two bytes, high byte first: year to second
  constexpr std::uint8_t kFixedDate[] = {0x07, 0xea, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0};
  if (!profile) throw CXMemException(Supp_Translate("no memory for a colour profile"));
  cmsSetProfileVersion(profile.get(), 4.2);  // the newest that archives take
  cmsUInt32Number size = 0;
  if (!cmsSaveProfileToMem(profile.get(), nullptr, &size)) return {};
  ColorProfile bytes(size);
  if (!cmsSaveProfileToMem(profile.get(), bytes.data(), &size)) return {};
  std::copy(std::begin(kFixedDate), std::end(kFixedDate), bytes.begin() + kDate);
  return bytes;
}

const ColorProfile& standardProfile(bool isGrey) {
  static const ColorProfile colour = bytesOf(Profile(cmsCreate_sRGBProfile()));
  static const ColorProfile grey = bytesOf(makeGreyProfile());
  return isGrey ? grey : colour;
}

ColorProfile readProfile(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const std::streamsize size = file ? static_cast<std::streamsize>(file.tellg()) : -1;
  if (size < 0) {
    throw CXFileException(formatText(Supp_Translate("the colour profile %s cannot be read; choose another file, or "
                                                    "sRGB"),
                                     {path}),
                          path);
  }
  ColorProfile bytes;
  if (size > kMostProfileBytes) return bytes;
  bytes.resize(static_cast<std::size_t>(size));
  file.seekg(0);
  file.read(reinterpret_cast<char*>(bytes.data()), size);
  if (file.gcount() != size) bytes.clear();
  return bytes;
}

}  // namespace

ColorProfile profileFor(KxColorSpace colorSpace, const std::string& choice) {
  if (isRunList(colorSpace) || sameKey(choice, "none")) return {};
  const bool isGrey = colorSpace == KxColorSpace::Grey;
  if (choice.empty() || sameKey(choice, "sRGB")) return standardProfile(isGrey);
  ColorProfile bytes = readProfile(choice);
  const Profile profile(cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
  const cmsColorSpaceSignature colors = profile ? cmsGetColorSpace(profile.get()) : cmsSigXYZData;
  if (colors != cmsSigRgbData && colors != cmsSigGrayData) {
    throw CXFileException(formatText(Supp_Translate("%s is no ICC profile of grey or red, green and blue; choose "
                                                    "another file, or sRGB"),
                                     {choice}),
                          choice);
  }
  // A scanner's profile describes its colours; its grey pages are made of them and keep the usual curve.
  return (colors == cmsSigGrayData) == isGrey ? bytes : standardProfile(isGrey);
}

}  // namespace quillbay
