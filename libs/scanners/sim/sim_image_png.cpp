#include <png.h>

#include <cstdio>
#include <string>

#include "platform/base_services.h"
#include "quillbay/geometry.h"
#include "scanners/sim/sim_image.h"

namespace quillbay {

namespace {

// libpng reports errors by jumping: the functions that it may leave so hold nothing that needs a destructor.
struct PngState {
  std::FILE* file = nullptr;
  png_structp png = nullptr;
  png_infop info = nullptr;
  char error[200] = {};
};

void keepError(png_structp png, png_const_charp text) {
  auto* state = static_cast<PngState*>(png_get_error_ptr(png));
  std::snprintf(state->error, sizeof state->error, "%s", text);
  png_longjmp(png, 1);
}

void ignoreWarning(png_structp /*png*/, png_const_charp /*text*/) {}

bool readHeader(PngState& s) {
  if (setjmp(png_jmpbuf(s.png)) != 0) return false;
  png_init_io(s.png, s.file);
  png_read_info(s.png, s.info);
  png_set_expand(s.png);
  png_set_strip_16(s.png);
  if ((png_get_color_type(s.png, s.info) & PNG_COLOR_MASK_ALPHA) != 0 ||
      png_get_valid(s.png, s.info, PNG_INFO_tRNS) != 0) {
    png_color_16 white{};
    white.red = white.green = white.blue = white.gray = 255;
    png_set_background(s.png, &white, PNG_BACKGROUND_GAMMA_SCREEN, 0, 1.0);
  }
  png_read_update_info(s.png, s.info);
  return true;
}

bool readOne(PngState& s, std::uint8_t* out) {
  if (setjmp(png_jmpbuf(s.png)) != 0) return false;
  png_read_row(s.png, out, nullptr);
  return true;
}

class PngRows final : public SimImageRows {
 public:
  explicit PngRows(const std::string& path) : m_path(path) {
    m_state.file = std::fopen(path.c_str(), "rb");
    m_state.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &m_state, keepError, ignoreWarning);
    if (m_state.png) m_state.info = png_create_info_struct(m_state.png);
    try {
      open();
    } catch (...) {
      close();
      throw;
    }
  }
  ~PngRows() override { close(); }

  void readRow(std::uint8_t* out) override {
    if (!readOne(m_state, out)) fail(std::string("is damaged: ") + m_state.error);
  }

 private:
  [[noreturn]] void fail(const std::string& what) const {
    throw CXFileException("The image \"" + m_path + "\" " + what + ".", m_path);
  }
  void open() {
    if (!m_state.file) fail("cannot be opened: " + fio::errorText(errno));
    if (!m_state.info) fail("cannot be read: there is no memory");
    if (!readHeader(m_state)) fail(std::string("cannot be read as a PNG: ") + m_state.error);
    if (png_get_interlace_type(m_state.png, m_state.info) != PNG_INTERLACE_NONE)
      fail("is interlaced and cannot be read in bands: save it without interlacing");
    width = static_cast<std::int32_t>(png_get_image_width(m_state.png, m_state.info));
    height = static_cast<std::int32_t>(png_get_image_height(m_state.png, m_state.info));
    channels = png_get_channels(m_state.png, m_state.info);
    if (channels != 1 && channels != 3) fail("has pixels that the simulated scanner does not read");
    dpi = static_cast<double>(png_get_x_pixels_per_meter(m_state.png, m_state.info)) * kMmPerInch / 1000;
  }
  void close() noexcept {
    if (m_state.png) png_destroy_read_struct(&m_state.png, &m_state.info, nullptr);
    if (m_state.file) std::fclose(m_state.file);
    m_state = {};
  }

  std::string m_path;
  PngState m_state;
};

}  // namespace

std::unique_ptr<SimImageRows> openPngRows(const std::string& path) { return std::make_unique<PngRows>(path); }

}  // namespace quillbay
