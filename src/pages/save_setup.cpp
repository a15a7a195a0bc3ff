#include "pages/save_setup.h"

#include <QShowEvent>
#include <algorithm>
#include <utility>

#include "params/counter_format.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "platform/file_naming.h"
#include "platform/post_command.h"
#include "platform/scan_to.h"
#include "quillbay/quillbay.h"
#include "quillbay/scan_keys.h"
#include "ui_save_setup.h"

namespace quillbay {

namespace {

constexpr ColorClass kClasses[] = {kClassBitonal, kClassGrey, kClassPalette, kClassColor};
constexpr int kUsualDigits = 3;
constexpr std::uint32_t kMostStart = 4294967294U;
constexpr const char* kClassNames[] = {"black-and-white", "greyscale", "palette", "colour"};

std::size_t indexOf(ColorClass colorClass) { return static_cast<std::size_t>(colorClass); }

/// 32 bits without a sign, which a set holds as an int or, beyond its range, as a double.
std::uint32_t startOf(const CKxVariant& value) {
  if (const auto* number = value.get<double>())
    return *number >= 0 ? static_cast<std::uint32_t>(std::min<double>(*number, kMostStart)) : 0;
  return std::min(static_cast<std::uint32_t>(value.toInt()), kMostStart);
}

std::int32_t counterOf(std::uint32_t start) { return static_cast<std::int32_t>(start); }

QString shownText(const std::string& english) { return QString::fromStdString(Supp_Translate(english)); }

}  // namespace

CSaveSetup::CSaveSetup(IPanelController& controller, KxPtr<CSharedScanParams> params, FormatProbe probe)
    : CTab(controller, std::move(params), kNumber),
      m_form(std::make_unique<Ui::SaveSetup>()),
      m_probe(probe ? std::move(probe) : ProbeSaveFormat) {}

CSaveSetup::~CSaveSetup() = default;

std::string CSaveSetup::GetTitle() { return Supp_Translate("Save Settings"); }

std::array<UnitSpin*, 2> CSaveSetup::fields() const { return {m_form->digits, m_form->start}; }

void CSaveSetup::createForm(int) {
  m_form->setupUi(this);
  m_rows[0] = {m_form->bitonal, m_form->bitonalOptions, m_form->bitonalLabel, {}, {}};
  m_rows[1] = {m_form->grey, m_form->greyOptions, m_form->greyLabel, {}, {}};
  m_rows[2] = {m_form->palette, m_form->paletteOptions, m_form->paletteLabel, {}, {}};
  m_rows[3] = {m_form->color, m_form->colorOptions, m_form->colorLabel, {}, {}};
  const ScanValues& v = params().values();
  for (const ColorClass colorClass : {kClassGrey, kClassPalette, kClassColor}) {
    const ClassRow& row = m_rows[indexOf(colorClass)];
    for (QWidget* part : {static_cast<QWidget*>(row.list), static_cast<QWidget*>(row.options), row.label})
      part->setVisible(v.scannerHasColor);
  }
  m_form->multiPage->setVisible(v.mode != ScanToNet);
  m_form->addsCounter->setChecked(true);
  m_form->digits->setLimits(1, kMostCounterDigits);
  m_form->start->setLimits(0, kMostStart);
  const int digits = digitsOfCounter(v.counterFormat);
  m_form->digits->setValue(digits ? digits : kUsualDigits);
  for (UnitSpin* field : fields()) {
    connect(field, &UnitSpin::noted, this, [this](const QString& why) {
      m_fieldNote = why.toStdString();
      showNote();
    });
  }
  m_form->name->setFrame(false);
  QPalette plain = m_form->name->palette();
  plain.setColor(QPalette::Base, Qt::transparent);
  m_form->name->setPalette(plain);
  if (const auto settings = query<IFormatSettings>(params().app())) m_table = buildFormatTable(*settings, m_probe);
  fillLists();
  showValues();
}

const SaveFormat* CSaveSetup::chosen(ColorClass colorClass) const {
  const ClassRow& row = m_rows[indexOf(colorClass)];
  const int at = row.list->currentIndex();
  return at >= 0 && at < static_cast<int>(row.formats.size()) ? &row.formats[static_cast<std::size_t>(at)]
                                                              : nullptr;
}

void CSaveSetup::fillLists() {
  for (const ColorClass colorClass : kClasses) fillList(colorClass);
  takeExtensions();
}

/// The format that was wanted last is chosen again as soon as it is listed.
void CSaveSetup::fillList(ColorClass colorClass) {
  ClassRow& row = m_rows[indexOf(colorClass)];
  const ScanValues& v = params().values();
  row.formats = formatsOfClass(m_table, colorClass, v.mode, v.multiPage != 0);
  row.list->clear();
  for (const SaveFormat& format : row.formats) {
    row.list->addItem(
        QString::fromStdString(formatText("(*.%s) %s", {format.extension, Supp_Translate(format.description)})));
  }
  const int wanted = findFormat(row.formats, row.wanted);
  row.list->setCurrentIndex(row.formats.empty() ? -1 : std::max(0, wanted));
  row.options->setEnabled(!row.formats.empty());
}

void CSaveSetup::takeExtensions() {
  ScanValues& v = params().quiet();
  const auto before = v.extensions;
  for (const ColorClass colorClass : kClasses) {
    if (const SaveFormat* format = chosen(colorClass)) v.extensions[indexOf(colorClass)] = "." + format->extension;
  }
  if (v.extensions != before) params().NotifyParam(key::Extension);
  const std::string digits = counterFormat(static_cast<int>(m_form->digits->value()));
  params().setIfChanged(scan_key::CounterFormat, digits);
}

void CSaveSetup::formatChosen(ColorClass colorClass) {
  ClassRow& row = m_rows[indexOf(colorClass)];
  if (const SaveFormat* format = chosen(colorClass)) row.wanted = formatItemText(*format);
  m_missing.clear();
  m_isUntold = false;
  // What the user chooses here counts from now on, whatever the host asked for.
  const bool overrides = !params().values().hostExtension.empty();
  params().quiet().hostExtension.clear();
  takeExtensions();
  if (overrides) params().NotifyParam(key::Extension);
  showName();
  showNote();
}

void CSaveSetup::showOptions(ColorClass colorClass) {
  const SaveFormat* format = chosen(colorClass);
  const auto settings = query<IFormatSettings>(params().app());
  if (!format || !settings) return;
  const std::string name = format->name;
  const auto formats = KxPtr<IParam>::adopt(settings->GetSection(format_key::Formats));
  const auto kept = formats ? KxPtr<IParam>::adopt(formats->GetSubStore(name, 1)) : KxPtr<IParam>{};
  if (!kept) return;
  const auto set = new_MemParam();
  Param_CopyTo(kept.get(), set.get());
  const auto options = KxPtr<IParam>::adopt(set->GetSubStore(format_key::Options, 1));
  options->SetValue(format_key::PreferredPage, preferredColorSpace(colorClass));
  // The page outlives this call, also when the host closes the panel meanwhile (`IPanelController::Guarded`).
  if (!settings->ShowOptions(name, set.get(), this)) return;
  options->Remove(format_key::PreferredPage);
  kept->RemoveSubStore(format_key::Options);  // an option that went back to its default is in the set no more
  Param_CopyTo(set.get(), kept.get());
  settings->OptionsChanged();
}

bool CSaveSetup::OnPageCommand(int id, int code, std::int64_t) {
  if (id >= kFormat0 && id < kFormat0 + 4) {
    if (code == kCodeSelected) formatChosen(static_cast<ColorClass>(id - kFormat0));
    return true;
  }
  if (id >= kOptions0 && id < kOptions0 + 4) return showOptions(static_cast<ColorClass>(id - kOptions0)), true;
  switch (id) {
    case kAddsCounter:
      params().set(scan_key::UseAutoCounter, m_form->addsCounter->isChecked() ? 1 : 0);
      return showValues(), true;
    case kDigits: return takeExtensions(), showName(), true;
    case kStart:
      m_start = startOf(m_form->start->value());
      m_hasStart = true;
      params().set(scan_key::Counter, counterOf(m_start));
      return showName(), true;
    case kIncrement: return setFate(kFateIncrement), true;
    case kOverwrite: return setFate(kFateOverwrite), true;
    case kAsk: return setFate(kFateAsk), true;
    case kMultiPage:
      params().set(scan_key::MultiPage, m_form->multiPage->isChecked() ? 1 : 0);
      fillLists();
      return showValues(), true;
    case kTell:
      if (!std::exchange(m_isUntold, false)) return true;
      controller().Message(EventKind::Information, loadNote(), EventButtons::Ok);
      return true;
    default: return false;
  }
}

void CSaveSetup::setFate(int fate) { params().set(scan_key::FileFate, fate); }

int CSaveSetup::paramChanged(const char* key) {
  if (sameKey(key, key::CurrMode)) fillLists();
  if (sameKey(key, key::MultiPage)) fillLists();
  for (const char* own : {key::FileFate, key::UseAutoCounter, key::MultiPage, key::CounterFormat}) {
    if (sameKey(key, own)) return showValues(), 1;
  }
  for (const char* naming : {key::PaperName, key::Dir, key::Mask, key::Counter, key::Extension, key::CurrMode,
                             key::Dpi, key::RcScan, key::ScanAreaType, key::Units}) {
    if (sameKey(key, naming)) return showName(), showNote(), 1;
  }
  return 1;
}

void CSaveSetup::showEvent(QShowEvent* event) {
  if (!event->spontaneous()) showValues();
  CTab::showEvent(event);
}

void CSaveSetup::showValues() {
  const ScanValues& v = params().values();
  const bool counts = v.useAutoCounter != 0, several = v.multiPage != 0;
  m_form->addsCounter->setChecked(counts);
  if (const int digits = digitsOfCounter(v.counterFormat)) m_form->digits->setValue(digits);
  m_form->start->setValue(m_start);
  m_form->increment->setChecked(v.fileFate != kFateOverwrite && v.fileFate != kFateAsk);
  m_form->overwrite->setChecked(v.fileFate == kFateOverwrite);
  m_form->ask->setChecked(v.fileFate == kFateAsk);
  m_form->multiPage->setChecked(several);
  for (QWidget* part : {static_cast<QWidget*>(m_form->counterGroup), static_cast<QWidget*>(m_form->fateGroup)}) {
    part->setEnabled(!several);
    part->setToolTip(several ? shownText("Not in multipage mode: all pages go into one file") : QString());
  }
  showName();
  showNote();
}

void CSaveSetup::showName() {
  const auto* naming = dynamic_cast<const IFileNaming*>(params().destination);
  const QString name = naming ? QString::fromStdString(naming->fileName()) : QString();
  if (m_form->name->text() != name) m_form->name->setText(name);
  m_form->name->setCursorPosition(0);
  m_form->name->setToolTip(name);
  m_form->tags->setText(naming ? QString::fromStdString(naming->tags()) : QString());
}

void CSaveSetup::showNote() {
  std::string note = m_fieldNote;
  const auto add = [&note](const std::string& text) {
    if (!text.empty()) note += (note.empty() ? "" : "\n") + text;
  };
  add(loadNote());
  if (m_table.empty())
    add(Supp_Translate("No file format can be used: the installation is incomplete. The log says more."));
  if (const std::string& host = params().values().hostExtension; !host.empty())
    add(formatText(Supp_Translate("For now all files end in %s, whatever is chosen here."), {host}));
  m_form->note->setText(QString::fromStdString(note));
  m_form->note->setVisible(!note.empty());
}

int CSaveSetup::Load(IParam* store) {
  const Loading loading(*this);
  const bool resets = paramInt(store, key::ResetMark) != 0;
  m_refused.clear();
  loadValues(store, resets);
  loadFormats(store, resets);
  showValues();
  m_isUntold = !loadNote().empty();
  if (m_isUntold) PostCommand(this, kTell, -1, 0, true);
  return 1;
}

void CSaveSetup::loadValues(IParam* store, bool resets) {
  const ScanValues defaults;
  ScanValues now = params().values();
  const auto number = [&](const char* key, std::int32_t current, std::int32_t fallback) {
    return paramInt(store, key, resets ? fallback : current);
  };
  const int fate = number(key::FileFate, now.fileFate, defaults.fileFate);
  params().set(scan_key::FileFate, fate == kFateOverwrite || fate == kFateAsk ? fate : kFateIncrement);
  params().set(scan_key::UseAutoCounter, number(key::UseAutoCounter, now.useAutoCounter, 1) != 0 ? 1 : 0);
  int digits = resets ? kUsualDigits : digitsOfCounter(now.counterFormat);
  if (const std::string format = paramString(store, key::CounterFormat); !format.empty()) {
    const int asked = digitsOfCounter(format);
    if (asked == 0)
      m_refused = formatText(Supp_Translate("%s takes %.Nd with N from 1 to 8"), {key::CounterFormat});
    else
      digits = asked;
  }
  digits = std::clamp(paramInt(store, key::CounterDigits, digits ? digits : kUsualDigits), 1, kMostCounterDigits);
  m_form->digits->setValue(digits);
  params().set(scan_key::CounterFormat, counterFormat(digits));
  loadStart(store, resets);
  int several = number(key::MultiPage, now.multiPage, 0) != 0 ? 1 : 0;
  if (now.mode == ScanToNet) several = 0;
  if (now.multiPageRequested) several = 1;
  params().set(scan_key::MultiPage, several);
}

/// Settings that are pushed with the start that counting had already do not begin it anew.
void CSaveSetup::loadStart(IParam* store, bool resets) {
  CKxVariant value;
  const bool hasStart = store && store->GetValue(key::StartCounter, &value);
  const std::uint32_t start = startOf(value);
  const bool isNew = (hasStart && start != m_start) || (hasStart && !m_hasStart) || resets;
  if (!isNew) return;
  m_start = start;
  m_hasStart = true;
  params().set(scan_key::Counter, counterOf(start));
}

void CSaveSetup::loadFormats(IParam* store, bool resets) {
  m_missing.clear();
  std::array<bool, 4> isAsked{};
  for (const ColorClass colorClass : kClasses) {
    ClassRow& row = m_rows[indexOf(colorClass)];
    CKxVariant value;
    const std::string key = key::numbered(key::FormatName, colorClass);
    const bool isNamed = store && store->GetValue(key, &value);
    isAsked[indexOf(colorClass)] = isNamed;
    if (isNamed || resets) row.wanted = isNamed ? paramString(store, key) : std::string();
  }
  fillLists();
  for (const ColorClass colorClass : kClasses) {
    const ClassRow& row = m_rows[indexOf(colorClass)];
    if (!isAsked[indexOf(colorClass)] || row.wanted.empty() || row.list->isHidden() ||
        findFormat(row.formats, row.wanted) >= 0)
      continue;
    // Multipage mode alone leaves it out: the user sees why, and it comes back.
    const bool isThere =
        findFormat(formatsOfClass(m_table, colorClass, params().values().mode, false), row.wanted) >= 0;
    const SaveFormat* instead = chosen(colorClass);
    if (isThere || !instead) continue;
    const std::string text =
        formatText(Supp_Translate("The file format %s for %s pages is not there. They are saved as %s."),
                   {row.wanted, Supp_Translate(kClassNames[indexOf(colorClass)]), formatItemText(*instead)});
    m_missing += (m_missing.empty() ? "" : "\n") + text;
    logLine(LogLevel::Warning, "quillbay.pages", text);
  }
}

int CSaveSetup::Save(IParam* store) {
  const ScanValues& v = params().values();
  for (const ColorClass colorClass : kClasses) {
    if (const SaveFormat* format = chosen(colorClass))
      store->SetValue(key::numbered(key::FormatName, colorClass), formatItemText(*format));
  }
  store->SetValue(key::FileFate, v.fileFate);
  store->SetValue(key::UseAutoCounter, v.useAutoCounter);
  store->SetValue(key::CounterDigits, static_cast<std::int32_t>(m_form->digits->value()));
  store->SetValue(key::StartCounter, counterOf(m_start));
  store->SetValue(key::MultiPage, v.multiPage);
  return 1;
}

std::string CSaveSetup::loadNote() const {
  return m_refused + (m_refused.empty() || m_missing.empty() ? "" : "\n") + m_missing;
}

std::string CSaveSetup::GetLoadNote() {
  m_isUntold = false;
  return loadNote();
}

std::string CSaveSetup::GetRefusal() { return finishEdits(fields()); }

}  // namespace quillbay
