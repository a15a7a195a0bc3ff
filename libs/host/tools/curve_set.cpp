#include "host/tools/curve_set.h"

#include <utility>

namespace quillbay {

GammaTable straightTable() { return CurveSet().table(); }

void CurveSet::setCurve(CurveChannel channel, ToneCurve curve) {
  m_curves[index(channel)] = std::move(curve);
  m_given.reset();
}

void CurveSet::follow(const GammaTable& table) {
  CurveLevels red{}, green{}, blue{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    red[i] = table[i].red;
    green[i] = table[i].green;
    blue[i] = table[i].blue;
  }
  m_curves = {ToneCurve(), ToneCurve::following(red), ToneCurve::following(green), ToneCurve::following(blue)};
  m_given = table;
  for (KXRGBQUAD& entry : *m_given) entry.reserved = 0;
}

GammaTable CurveSet::table() const {
  if (m_given) return *m_given;
  const CurveLevels red = applied(CurveChannel::Red), green = applied(CurveChannel::Green),
                    blue = applied(CurveChannel::Blue);
  GammaTable table{};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = {red[i], green[i], blue[i], 0};
  return table;
}

CurveLevels CurveSet::applied(CurveChannel channel) const {
  CurveLevels levels = curve(channel).levels();
  if (channel == CurveChannel::Common) return levels;
  if (m_given) {
    for (std::size_t i = 0; i < levels.size(); ++i) {
      const KXRGBQUAD& entry = (*m_given)[i];
      levels[i] = channel == CurveChannel::Red     ? entry.red
                  : channel == CurveChannel::Green ? entry.green
                                                   : entry.blue;
    }
    return levels;
  }
  const CurveLevels common = curve(CurveChannel::Common).levels();
  for (std::uint8_t& level : levels) level = common[level];
  return levels;
}

bool CurveSet::setBlack(KXRGBQUAD color) { return setEnds(color, &ToneCurve::setBlack); }

bool CurveSet::setWhite(KXRGBQUAD color) { return setEnds(color, &ToneCurve::setWhite); }

bool CurveSet::setEnds(KXRGBQUAD color, bool (ToneCurve::*set)(int)) {
  auto curves = m_curves;
  const std::pair<CurveChannel, int> ends[] = {
      {CurveChannel::Red, color.red}, {CurveChannel::Green, color.green}, {CurveChannel::Blue, color.blue}};
  for (const auto& [channel, x] : ends) {
    if (!(curves[index(channel)].*set)(x)) return false;
  }
  m_curves = std::move(curves);
  m_given.reset();
  return true;
}

}  // namespace quillbay
