#include "tools/shading/png_file.h"

#include <png.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

namespace shading {
namespace {

constexpr int compression_level = 6;

/// libpng is C and is left by a jump: no exception may pass through it, no destructor be skipped.
struct png_output {
  std::vector<uint8_t> bytes;
  std::string complaint;
  bool out_of_memory = false;
};

void append(png_structp png, png_bytep data, size_t size) {
  auto* const output = static_cast<png_output*>(png_get_io_ptr(png));
  try {
    output->bytes.insert(output->bytes.end(), data, data + size);
    return;
  } catch (const std::exception&) {
    output->out_of_memory = true;
  }
  png_error(png, "no memory");
}

void flush(png_structp) {}

[[noreturn]] void fail(png_structp png, png_const_charp message) {
  auto* const output = static_cast<png_output*>(png_get_error_ptr(png));
  try {
    output->complaint = message;
  } catch (const std::exception&) {
    output->out_of_memory = true;
  }
  png_longjmp(png, 1);
}

void ignore(png_structp, png_const_charp) {}

struct png_writer {
  png_structp png = nullptr;
  png_infop info = nullptr;
  explicit png_writer(png_output& output)
      : png(png_create_write_struct(PNG_LIBPNG_VER_STRING, &output, fail, ignore)) {
    if (png != nullptr) info = png_create_info_struct(png);
  }
  png_writer(const png_writer&) = delete;
  png_writer& operator=(const png_writer&) = delete;
  ~png_writer() { png_destroy_write_struct(&png, &info); }
};

/// False when libpng gave up; nothing in here has a destructor.
[[nodiscard]] bool write(const png_writer& writer, png_output& output, const rgb* pixels,
                         uint32_t width, uint32_t height) {
  if (setjmp(png_jmpbuf(writer.png)) != 0) return false;
  png_set_write_fn(writer.png, &output, append, flush);
  png_set_compression_level(writer.png, compression_level);
  png_set_IHDR(writer.png, writer.info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(writer.png, writer.info);
  static_assert(sizeof(rgb) == 3);
  for (uint32_t y = 0; y < height; ++y)
    png_write_row(writer.png, reinterpret_cast<png_const_bytep>(pixels + size_t{y} * width));
  png_write_end(writer.png, nullptr);
  return true;
}

}  // namespace

std::vector<uint8_t> png_file_of(std::span<const rgb> pixels, uint32_t width, uint32_t height) {
  if (width == 0 || height == 0 || pixels.size() != size_t{width} * height)
    throw std::runtime_error("a picture without pixels cannot be written");
  png_output output;
  const png_writer writer(output);
  if (writer.png == nullptr || writer.info == nullptr)
    throw std::runtime_error("libpng cannot be started");
  if (!write(writer, output, pixels.data(), width, height)) {
    throw std::runtime_error(output.out_of_memory ? "no memory for the picture"
                                                  : "libpng: " + output.complaint);
  }
  return std::move(output.bytes);
}

}  // namespace shading
