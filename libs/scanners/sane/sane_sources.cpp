#include "scanners/sane/sane_sources.h"

#include <algorithm>
#include <string_view>

#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr const char* kSource = "source";

const SaneOption* settable(const std::vector<SaneOption>& options, std::string_view name) {
  const auto found = std::find_if(options.begin(), options.end(), [&](const auto& o) { return o.name == name; });
  return found != options.end() && found->isSettable() ? &*found : nullptr;
}

const std::string* valueOf(const SaneSources::Settings& settings, std::string_view name) {
  const auto found = std::find_if(settings.begin(), settings.end(), [&](const auto& s) { return s.first == name; });
  return found == settings.end() ? nullptr : &found->second;
}

bool isDuplex(const std::string& value) { return contains(toLowerAscii(value), "duplex"); }

}  // namespace

UnitSource sourceOf(const std::string& name) {
  const std::string lower = toLowerAscii(name);
  if (contains(lower, "duplex")) return UnitSource::Duplex;
  return contains(lower, "adf") || contains(lower, "feeder") ? UnitSource::Feeder : UnitSource::Flatbed;
}

SaneSources::SaneSources(const std::vector<SaneOption>& options) {
  // The one for both sides is inactive with some drivers until a feeder is chosen.
  if (const SaneOption* mode = settable(options, "adf-mode"); mode && mode->strings.size() > 1) {
    const auto both = std::find_if(mode->strings.begin(), mode->strings.end(), isDuplex);
    const auto one = std::find_if_not(mode->strings.begin(), mode->strings.end(), isDuplex);
    if (both != mode->strings.end() && one != mode->strings.end()) {
      m_sides = mode->name;
      m_one = *one;
      m_both = *both;
      if (mode->isActive()) m_now.emplace_back(m_sides, mode->text);
    }
  }
  if (const SaneOption* flag = settable(options, "duplex");
      m_sides.empty() && flag && flag->type == SANE_TYPE_BOOL) {
    m_sides = flag->name;
    m_one = "no";
    m_both = "yes";
    if (flag->isActive()) m_now.emplace_back(m_sides, !flag->value.empty() && flag->value.front() ? m_both : m_one);
  }
  findChoices(options);
}

void SaneSources::add(UnitSource source, Settings settings) {
  const auto place =
      std::find_if(m_choices.begin(), m_choices.end(), [&](const Choice& c) { return c.source >= source; });
  if (place == m_choices.end() || place->source != source) m_choices.insert(place, {source, std::move(settings)});
}

void SaneSources::findChoices(const std::vector<SaneOption>& options) {
  const SaneOption* source = settable(options, kSource);
  const std::vector<std::string> names = source ? source->strings : std::vector<std::string>{};
  if (source && source->isActive()) m_now.emplace_back(kSource, source->text);
  for (const std::string& name : names) {
    const UnitSource kind = sourceOf(name);
    Settings settings{{kSource, name}};
    if (kind == UnitSource::Feeder && !m_sides.empty()) {
      add(UnitSource::Duplex, {{kSource, name}, {m_sides, m_both}});
      settings.emplace_back(m_sides, m_one);
    }
    add(kind, std::move(settings));
  }
  // A device that can scan both sides feeds its sheets, whether or not it has another source.
  if (names.empty() && !m_sides.empty()) {
    add(UnitSource::Feeder, {{m_sides, m_one}});
    add(UnitSource::Duplex, {{m_sides, m_both}});
  }
}

UnitSource SaneSources::current(const Settings& wanted) const {
  const auto now = [&](const std::string& name) {
    const std::string* value = valueOf(wanted, name);
    if (!value) value = valueOf(m_now, name);
    return value ? *value : std::string();
  };
  const bool hasSource = std::any_of(m_choices.begin(), m_choices.end(),
                                     [](const Choice& c) { return valueOf(c.settings, kSource) != nullptr; });
  const UnitSource source = hasSource || m_choices.empty() ? sourceOf(now(kSource)) : UnitSource::Feeder;
  const bool both = source == UnitSource::Feeder && !m_sides.empty() && sameKey(now(m_sides), m_both);
  return both ? UnitSource::Duplex : source;
}

}  // namespace quillbay
