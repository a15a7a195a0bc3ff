#include "scanner/sim_setup.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include "window/wheel_guard.h"

namespace desktop {

namespace {

constexpr double kMany = 1e12;

struct Paper {
  const char* name;
  double width, length;  // mm
};
constexpr Paper kPapers[] = {
    {"A0", 841, 1189}, {"A1", 594, 841}, {"A2", 420, 594}, {"A3", 297, 420}, {"A4", 210, 297}};

/// A field for numbers that shows no more decimals than it has to.
class NumberSpin : public QDoubleSpinBox {
 public:
  using QDoubleSpinBox::QDoubleSpinBox;
  [[nodiscard]] QString textFromValue(double value) const override {
    QLocale plain = locale();
    plain.setNumberOptions(plain.numberOptions() | QLocale::OmitGroupSeparator);
    return plain.toString(value, 'f', QLocale::FloatingPointShortest);
  }
};

}  // namespace

SimSetup::SimSetup(QWidget* parent) : QWidget(parent), m_parts(new QTabWidget) {
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->addWidget(m_parts);
  // The bar has the focus and says so alone; the widget around it would tell a screen reader the same again.
  m_parts->setFocusProxy(nullptr);
  m_parts->setFocusPolicy(Qt::NoFocus);
  m_parts->tabBar()->setAccessibleName(tr("Set-up of the simulated scanner"));
  m_parts->tabBar()->setToolTip(tr("The set-up of the simulated scanner"));
  makePaper();
  makeDrawings();
  makeAdvanced();
  setDevice("sim:");
}

void SimSetup::setDevice(const QString& device) {
  m_device = SimDevice(device);
  m_showing = true;
  for (const Field& field : m_fields) {
    const QString value = m_device.value(field.key);
    field.show(value.isEmpty() ? field.standard : value);
  }
  m_showing = false;
  updateEnabled();
}

void SimSetup::showPart(int part) { m_parts->setCurrentIndex(part); }

void SimSetup::take(const QString& key) {
  if (m_showing) return;
  for (const Field& field : m_fields) {
    if (field.key != key) continue;
    const QString value = field.value();
    m_device.set(key, value == field.standard ? QString() : value);
  }
  updateEnabled();
  emit changed();
}

void SimSetup::bind(Field field) { m_fields.push_back(std::move(field)); }

SimSetup::Part SimSetup::addPart(const QString& title) {
  auto* page = new QWidget;
  auto* column = new QVBoxLayout(page);
  auto* grid = new QGridLayout;
  grid->setColumnStretch(1, 1);
  grid->setColumnStretch(4, 1);
  grid->setColumnMinimumWidth(2, 16);
  column->addLayout(grid);
  column->addStretch(1);
  m_parts->addTab(page, title);
  return {grid};
}

void SimSetup::add(Part& part, const QString& label, QWidget* widget, const QString& tip) {
  auto* title = new QLabel(label);
  title->setBuddy(widget);
  widget->setToolTip(tip);
  part.grid->addWidget(title, part.row, part.column);
  part.grid->addWidget(widget, part.row, part.column + 1);
  part.row += part.column > 0 ? 1 : 0;
  part.column = part.column > 0 ? 0 : 3;
}

void SimSetup::addWide(Part& part, QWidget* widget, const QString& tip) {
  widget->setToolTip(tip);
  if (part.column > 0) ++part.row;
  part.column = 0;
  part.grid->addWidget(widget, part.row++, 0, 1, 5);
}

QDoubleSpinBox* SimSetup::newNumber(double least, double most, int decimals, const QString& suffix) {
  auto* spin = new NumberSpin;
  new WheelGuard(spin);
  spin->setDecimals(decimals);
  spin->setRange(least, most);
  spin->setSuffix(suffix);
  spin->setMinimumWidth(fontMetrics().horizontalAdvance("as fast as possible") + 48);
  spin->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  return spin;
}

QDoubleSpinBox* SimSetup::addNumber(Part& part, const QString& label, const QString& key, double standard,
                                    double least, double most, int decimals, const QString& suffix,
                                    const QString& tip) {
  QDoubleSpinBox* spin = newNumber(least, most, decimals, suffix);
  add(part, label, spin, tip);
  bind({key, simNumber(standard), [spin](const QString& text) { spin->setValue(text.toDouble()); },
        [spin] { return simNumber(spin->value()); }});
  connect(spin, &QDoubleSpinBox::valueChanged, this, [this, key] { take(key); });
  return spin;
}

QComboBox* SimSetup::addChoice(Part& part, const QString& label, const QString& key, const QString& standard,
                               const std::vector<std::pair<QString, QString>>& choices, const QString& tip) {
  auto* box = new QComboBox;
  new WheelGuard(box);
  for (const auto& [value, text] : choices) box->addItem(text, value);
  add(part, label, box, tip);
  bind({key, standard,
        [box, standard](const QString& text) {
          const int index = box->findData(text);
          box->setCurrentIndex(index >= 0 ? index : box->findData(standard));
        },
        [box] { return box->currentData().toString(); }});
  connect(box, &QComboBox::currentIndexChanged, this, [this, key] { take(key); });
  return box;
}

QCheckBox* SimSetup::addSwitch(Part& part, const QString& text, const QString& key, bool standard,
                               const QString& tip) {
  auto* box = new QCheckBox(text);
  box->setToolTip(tip);
  part.grid->addWidget(box, part.row, part.column, 1, 2);
  part.row += part.column > 0 ? 1 : 0;
  part.column = part.column > 0 ? 0 : 3;
  bind({key, standard ? "1" : "0", [box](const QString& value) { box->setChecked(value == "1"); },
        [box] { return QString(box->isChecked() ? "1" : "0"); }});
  connect(box, &QCheckBox::toggled, this, [this, key] { take(key); });
  return box;
}

void SimSetup::makePaper() {
  Part part = addPart(tr("&Paper"));
  addNumber(part, tr("&Bed width"), "width", 900, 10, 2000, 3, tr(" mm"), tr("The width that the scanner sees"));
  makeSize(part);
  makePlace(part);
  addNumber(part, tr("S&kew"), "skew", 0, -45, 45, 3, QString(QChar(0xB0)),
            tr("Rotates the paper about its top left corner, clockwise if positive"));
  addChoice(part, tr("Backgro&und"), "background", "dark",
            {{"dark", tr("Dark")},
             {"light", tr("Light")},
             {"white", tr("White")},
             {"grey", tr("Grey")},
             {"dirty", tr("Dirty")}},
            tr("The bed around the paper; on a light bed the paper casts a shadow"));
}

void SimSetup::makeSize(Part& part) {
  m_paper = new QComboBox;
  new WheelGuard(m_paper);
  m_paper->addItem(tr("Own size"));
  for (const Paper& paper : kPapers) {
    m_paper->addItem(tr("%1 landscape").arg(paper.name), simPair(paper.length, paper.width));
    m_paper->addItem(tr("%1 portrait").arg(paper.name), simPair(paper.width, paper.length));
  }
  add(part, tr("Paper si&ze"), m_paper, {});
  m_width = newNumber(5, 1e6, 3, tr(" mm"));
  m_length = newNumber(5, 1e6, 3, tr(" mm"));
  add(part, tr("Paper &width"), m_width, {});
  add(part, tr("Paper &length"), m_length, {});
  bind({"size", "841x594",
        [this](const QString& text) {
          const auto size = simPairOf(text);
          if (!size) return;
          m_width->setValue(size->first);
          m_length->setValue(size->second);
          showPaper();
        },
        [this] { return simPair(m_width->value(), m_length->value()); }});
  for (QDoubleSpinBox* side : {m_width, m_length}) {
    connect(side, &QDoubleSpinBox::valueChanged, this, [this] {
      showPaper();
      take("size");
    });
  }
  connect(m_paper, &QComboBox::activated, this, [this] {
    const auto size = simPairOf(m_paper->currentData().toString());
    if (!size) return m_width->setFocus();
    const QSignalBlocker quietly(m_width);
    m_width->setValue(size->first);
    m_length->setValue(size->second);
    take("size");
  });
}

void SimSetup::showPaper() {
  const QString size = simPair(m_width->value(), m_length->value());
  m_paper->setCurrentIndex(std::max(0, m_paper->findData(size)));
}

void SimSetup::makePlace(Part& part) {
  m_centred = new QCheckBox(tr("Paper in the &middle of the bed, at its top"));
  addWide(part, m_centred, tr("Off: the two fields below set the top left corner of the paper"));
  m_left = newNumber(-100000, 100000, 3, tr(" mm"));
  m_top = newNumber(-100000, 100000, 3, tr(" mm"));
  add(part, tr("&From the left"), m_left, tr("From the bed's left edge to the paper's top left corner"));
  add(part, tr("From the &top"), m_top, tr("From the start of the scan to the paper's top left corner"));
  bind({"at",
        {},
        [this](const QString& text) {
          const auto place = simPairOf(text);
          m_centred->setChecked(!place);
          m_left->setValue(place ? place->first : 0);
          m_top->setValue(place ? place->second : 0);
        },
        [this] { return m_centred->isChecked() ? QString() : simPair(m_left->value(), m_top->value()); }});
  connect(m_centred, &QCheckBox::toggled, this, [this] { take("at"); });
  connect(m_left, &QDoubleSpinBox::valueChanged, this, [this] { take("at"); });
  connect(m_top, &QDoubleSpinBox::valueChanged, this, [this] { take("at"); });
}

void SimSetup::makeDrawings() {
  Part part = addPart(tr("D&rawings"));
  m_drawing = addChoice(part, tr("&Kind"), "drawing", "mix",
                        {{"plan", tr("Plans")}, {"map", tr("Maps")}, {"mix", tr("Both in turn")}}, {});
  m_seed = addNumber(part, tr("S&eed"), "seed", 1, 0, 9e15, 0, {}, {});
  makePictures(part);
  m_dpi = addNumber(part, tr("Resolution of p&ictures"), "image-dpi", 300, 10, 4800, 3, tr(" dpi"), {});
  addChoice(part, tr("Sour&ce"), "source", "feeder", {{"feeder", tr("Feeder")}, {"flatbed", tr("Flatbed")}},
            tr("With a flatbed, a batch asks for each document"));
  addNumber(part, tr("Pages i&n the feeder"), "count", 0, 0, kMany, 0, {},
            tr("The number of pages in the feeder, or endless"))
      ->setSpecialValueText(tr("endless"));
  auto* speed =
      addNumber(part, tr("Speed (&lines per second)"), "speed", 0, 0, 1e9, 3, {}, tr("How fast lines are scanned"));
  speed->setSpecialValueText(tr("as fast as possible"));
  speed->setSingleStep(100);
}

void SimSetup::makePictures(Part& part) {
  m_files = new QLineEdit;
  m_files->setReadOnly(true);
  m_files->setPlaceholderText(tr("none: drawings are scanned"));
  auto* label = new QLabel(tr("Picture &files"));
  label->setBuddy(m_files);
  auto* choose = new QPushButton(tr("&Browse..."));
  choose->setToolTip(tr("Chooses picture files to scan instead of drawings"));
  m_noFiles = new QPushButton(tr("N&one"));
  m_noFiles->setToolTip(tr("Scans drawings again"));
  auto* row = new QHBoxLayout;
  row->addWidget(m_files, 1);
  for (QPushButton* button : {choose, m_noFiles}) {
    button->setAutoDefault(false);
    row->addWidget(button);
  }
  part.grid->addWidget(label, part.row, 0);
  part.grid->addLayout(row, part.row++, 1, 1, 4);
  bind({"images",
        {},
        [this](const QString& text) {
          m_pictures = simFilesOf(text);
          showPictures();
        },
        [this] { return simFiles(m_pictures); }});
  connect(choose, &QPushButton::clicked, this, &SimSetup::choosePictures);
  connect(m_noFiles, &QPushButton::clicked, this, [this] {
    m_files->setFocus();  // the button goes grey
    m_pictures.clear();
    showPictures();
    take("images");
  });
}

void SimSetup::choosePictures() {
  const QString folder = m_pictures.isEmpty() ? QString() : QFileInfo(m_pictures.front()).absolutePath();
  const QStringList files = QFileDialog::getOpenFileNames(
      this, tr("Pictures to feed"), folder,
      tr("Pictures (%1)").arg("*.tif *.tiff *.png *.jpg *.jpeg *.pnm *.pbm *.pgm *.ppm") + ";;" +
          tr("All files (*)"));
  if (files.isEmpty()) return;
  m_pictures = files;
  showPictures();
  take("images");
}

void SimSetup::showPictures() {
  QStringList names;
  for (const QString& file : m_pictures) names += QFileInfo(file).fileName();
  m_files->setText(names.join(", "));
  m_files->setCursorPosition(0);
  m_files->setToolTip(m_pictures.isEmpty() ? tr("Pictures to scan instead of drawings (PNM, TIFF, PNG)")
                                           : m_pictures.join('\n').toHtmlEscaped().prepend("<pre>") + "</pre>");
}

void SimSetup::makeAdvanced() {
  Part part = addPart(tr("&Advanced"));
  addChoice(part, tr("&Fault"), "fault", "none",
            {{"none", tr("None")},
             {"cancelled", tr("Cancelled")},
             {"empty", tr("No document")},
             {"jam", tr("Paper jam")},
             {"cover", tr("Cover open")},
             {"busy", tr("Busy")},
             {"denied", tr("Access denied")},
             {"io", tr("Transmission error")},
             {"memory", tr("Out of memory")},
             {"unsupported", tr("Unsupported")},
             {"invalid", tr("Invalid setting")},
             {"other", tr("Another one")}},
            tr("The fault of each scan; with a number of lines, the fault at that line"));
  addNumber(part, tr("After l&ines"), "jam-after", 0, 0, kMany, 0, {},
            tr("One scan fails after this many lines, with a paper jam or the chosen fault"))
      ->setSpecialValueText(tr("never"));
  addNumber(part, tr("&Longest scan"), "length", 0, 0, 1e6, 3, tr(" mm"), tr("The greatest length of a scan"))
      ->setSpecialValueText(tr("no limit"));
  addChoice(part, tr("Ce&ntring"), "centring", "0",
            {{"0", tr("The user chooses")}, {"1", tr("Always")}, {"2", tr("Never")}},
            tr("Whether the device expects centred paper"));
  addChoice(part, tr("&Bits per sample"), "depth", "8", {{"8", "8"}, {"16", "16"}},
            tr("What the device delivers; pages have 8"));
  ++part.row;
  part.column = 0;
  addSwitch(part, tr("&With colour"), "colour", true, tr("Off: a device for grey and bitonal pages only"));
  addSwitch(part, tr("Finds the &end of the paper"), "finds-end", true,
            tr("Off: a scan to the end has the requested length"));
  addSwitch(part, tr("&Unknown length"), "unknown-length", false,
            tr("The number of lines is not known when the scan starts"));
}

void SimSetup::updateEnabled() {
  const bool pictures = !m_pictures.isEmpty();
  const QString own = tr("A picture has its own size");
  for (QWidget* field :
       {static_cast<QWidget*>(m_paper), static_cast<QWidget*>(m_width), static_cast<QWidget*>(m_length)}) {
    field->setEnabled(!pictures);
    field->setToolTip(pictures ? own : field == m_paper ? tr("The paper that is fed") : tr("Of the paper"));
  }
  for (QDoubleSpinBox* field : {m_left, m_top}) field->setEnabled(!m_centred->isChecked());
  const QString instead = tr("Picture files are scanned instead of drawings");
  m_drawing->setEnabled(!pictures);
  m_drawing->setToolTip(pictures ? instead : tr("What is drawn on the paper"));
  m_seed->setEnabled(!pictures);
  m_seed->setToolTip(pictures ? instead : tr("Each number gives other drawings"));
  m_dpi->setEnabled(pictures);
  m_dpi->setToolTip(pictures ? tr("For pictures without a resolution") : tr("Used when picture files are scanned"));
  m_noFiles->setEnabled(pictures);
}

}  // namespace desktop
