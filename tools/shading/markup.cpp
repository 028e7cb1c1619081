#include "tools/shading/markup.h"

#include "tools/shading/png_file.h"

namespace shading {

std::string marked_up(std::string_view text) {
  constexpr std::string_view replacement = "\xef\xbf\xbd";
  std::string result;
  result.reserve(text.size());
  for (const char letter : text) {
    switch (letter) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&#39;";
        break;
      default:
        if (static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f)
          result += replacement;
        else
          result += letter;
    }
  }
  return result;
}

std::string base64_of(std::span<const uint8_t> bytes) {
  constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string result;
  result.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t left = bytes.size() - i;
    const uint32_t group = uint32_t{bytes[i]} << 16 | (left > 1 ? uint32_t{bytes[i + 1]} << 8 : 0) |
                           (left > 2 ? uint32_t{bytes[i + 2]} : 0);
    result += digits[group >> 18];
    result += digits[group >> 12 & 63];
    result += left > 1 ? digits[group >> 6 & 63] : '=';
    result += left > 2 ? digits[group & 63] : '=';
  }
  return result;
}

std::string data_address_of(const raster& pixels) {
  return "data:image/png;base64," +
         base64_of(png_file_of(pixels.pixels, pixels.width, pixels.height));
}

}  // namespace shading
