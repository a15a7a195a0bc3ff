#include "channels/pdf/jpeg_lines.h"

// jpeglib.h needs FILE and size_t declared before.
#include <cstdio>
//
#include <jerror.h>
#include <jpeglib.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

namespace quillbay {
namespace {

constexpr std::size_t kJpegInputBytes = std::size_t{64} << 10;
constexpr long kMostCoefficients = 1L << 30;
constexpr int kMostJpegScans = 100;  // of a progressive picture; each goes through all of its coefficients

/// The library's state, freed also where reading the head fails.
struct JpegState {
  JpegState() = default;
  ~JpegState() { jpeg_destroy_decompress(&codec); }
  JpegState(const JpegState&) = delete;
  JpegState& operator=(const JpegState&) = delete;
  jpeg_decompress_struct codec{};
};

/// All that outlives a jump of libjpeg back into `run`; nothing with a destructor lives inside of it.
class JpegLines final : public SampleLines {
 public:
  JpegLines(std::unique_ptr<ByteSource> from, const ImagePlan& plan)
      : m_from(std::move(from)), m_plan(plan), m_input(kJpegInputBytes) {
    run([this] { create(); });
    run([this] { readHead(); });
    if (m_codec.output_width == static_cast<JDIMENSION>(plan.width) &&
        m_codec.output_height >= static_cast<JDIMENSION>(plan.height) &&
        m_codec.output_components == plan.samples()) {
      return;
    }
    throw ModuleError(QB_E_DAMAGED,
                      "the page has a JPEG of another size or kind than it says; the file is damaged");
  }

  void read(std::uint8_t* out) override {
    run([this, out] {
      JSAMPROW row = out;
      jpeg_read_scanlines(&m_codec, &row, 1);
    });
  }

 private:
  template <class Step>
  void run(Step step) {
    if (finishes(step)) return;
    if (m_thrown) throw ModuleError(*m_thrown);
    if (m_code == QB_E_REFUSED)
      throw ModuleError(m_code,
                        "the page has a progressive JPEG that is too large to be read; save it as a baseline one");
    throw ModuleError(m_code, m_code == QB_E_DAMAGED ? std::string("the file is damaged: ") + m_complaint : "");
  }
  template <class Step>
  bool finishes(Step step) {
    if (setjmp(m_jump)) return false;
    step();
    return true;
  }
  [[noreturn]] void fail(int code) {
    m_code = code;
    std::longjmp(m_jump, 1);
  }
  static JpegLines& of(j_decompress_ptr codec) noexcept { return *static_cast<JpegLines*>(codec->client_data); }

  void create() {
    m_codec.err = jpeg_std_error(&m_errors);
    m_codec.client_data = this;
    m_errors.error_exit = [](j_common_ptr c) {
      auto& self = *static_cast<JpegLines*>(c->client_data);
      c->err->format_message(c, self.m_complaint);
      switch (c->err->msg_code) {
        case JERR_OUT_OF_MEMORY: self.fail(QB_E_MEMORY);
        case JERR_NO_BACKING_STORE: self.fail(QB_E_REFUSED);
        default: self.fail(QB_E_DAMAGED);
      }
    };
    m_errors.output_message = [](j_common_ptr) {};
    // Warnings: pixels that are not what was saved.
    m_errors.emit_message = [](j_common_ptr c, int level) {
      if (level < 0) c->err->error_exit(c);
    };
    jpeg_create_decompress(&m_codec);
    m_codec.client_data = this;
    m_progress.progress_monitor = [](j_common_ptr c) {
      JpegLines& self = *static_cast<JpegLines*>(c->client_data);
      if (self.m_codec.input_scan_number <= kMostJpegScans) return;
      std::strcpy(self.m_complaint, "too many scans");
      self.fail(QB_E_DAMAGED);
    };
    m_codec.progress = &m_progress;
    m_codec.mem->max_memory_to_use = kMostCoefficients;
    m_source.init_source = [](j_decompress_ptr) {};
    m_source.term_source = [](j_decompress_ptr) {};
    m_source.resync_to_restart = jpeg_resync_to_restart;
    m_source.fill_input_buffer = [](j_decompress_ptr c) -> boolean {
      of(c).fill();
      return TRUE;
    };
    m_source.skip_input_data = [](j_decompress_ptr c, long bytes) {
      JpegLines& self = of(c);
      for (; bytes > static_cast<long>(self.m_source.bytes_in_buffer); self.fill()) {
        bytes -= static_cast<long>(self.m_source.bytes_in_buffer);
      }
      if (bytes <= 0) return;
      self.m_source.next_input_byte += bytes;
      self.m_source.bytes_in_buffer -= static_cast<std::size_t>(bytes);
    };
    m_codec.src = &m_source;
  }

  /// Exceptions do not pass through the library: a failure of the source is kept and thrown by `run`.
  std::size_t fetch() noexcept {
    try {
      return m_from->read(m_input.data(), m_input.size());
    } catch (const ModuleError& e) {
      m_thrown = e;
      return 0;
    }
  }
  void fill() {
    const std::size_t size = fetch();
    if (size == 0) fail(QB_E_TRUNCATED);
    m_source.next_input_byte = m_input.data();
    m_source.bytes_in_buffer = size;
  }

  void readHead() {
    jpeg_read_header(&m_codec, TRUE);
    m_codec.out_color_space = m_plan.samples() == 4 ? JCS_CMYK : m_plan.samples() == 3 ? JCS_RGB : JCS_GRAYSCALE;
    m_codec.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&m_codec);
  }

  std::unique_ptr<ByteSource> m_from;
  const ImagePlan m_plan;
  std::vector<std::uint8_t> m_input;
  JpegState m_state;
  jpeg_decompress_struct& m_codec = m_state.codec;
  jpeg_error_mgr m_errors{};
  jpeg_source_mgr m_source{};
  jpeg_progress_mgr m_progress{};
  std::jmp_buf m_jump{};
  std::optional<ModuleError> m_thrown;
  int m_code = QB_OK;
  char m_complaint[JMSG_LENGTH_MAX] = "";
};

}  // namespace

std::unique_ptr<SampleLines> makeJpegLines(std::unique_ptr<ByteSource> from, const ImagePlan& plan) {
  return std::make_unique<JpegLines>(std::move(from), plan);
}

}  // namespace quillbay
