#include "host/format_forms.h"

#include <QWidget>
#include <algorithm>
#include <iterator>
#include <memory>

#include "platform/base_services.h"
#include "ui_jp2_options.h"
#include "ui_jpeg_options.h"
#include "ui_pdf_options.h"
#include "ui_png_options.h"
#include "ui_tiff_options.h"

namespace quillbay {

namespace {

template <class Form>
QWidget* makeForm() {
  auto page = std::make_unique<QWidget>();
  Form().setupUi(page.get());
  return page.release();
}

struct KnownForm {
  const char* format;
  QWidget* (*make)();
};
constexpr KnownForm kForms[] = {
    {"TIFF", makeForm<Ui::TiffOptions>},     {"PDF", makeForm<Ui::PdfOptions>},
    {"JPEG", makeForm<Ui::JpegOptions>},     {"PNG", makeForm<Ui::PngOptions>},
    {"JPEG 2000", makeForm<Ui::Jp2Options>}, {"JPEG 2000 codestream", makeForm<Ui::Jp2Options>},
};

}  // namespace

QString formatFormText(const char* english, const char* /*comment*/) {
  return english && *english ? QString::fromStdString(Supp_Translate(english)) : QString();
}

QWidget* newFormatForm(std::string_view format) {
  const auto* found = std::find_if(std::begin(kForms), std::end(kForms),
                                   [&](const KnownForm& form) { return sameKey(form.format, format); });
  return found == std::end(kForms) ? nullptr : found->make();
}

}  // namespace quillbay
