// Which bytes of a file reach a terminal.

#include "tools/findings/escaped.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using findings::escaped;

TEST(Escaped, PrintableTextStaysAsItIs) {
  for (const char* text : {"", "module 7", "~!\"'", "caf\u00e9 \u20ac \u4e2d\u6587 \U0001f4f7"})
    EXPECT_EQ(text, escaped(text));
}

TEST(Escaped, ABackslashIsDoubled) {
  EXPECT_EQ("a\\\\b", escaped("a\\b"));
  EXPECT_EQ("\\\\x1b", escaped("\\x1b"));
}

TEST(Escaped, ControlCharactersBecomeTheirBytes) {
  EXPECT_EQ("\\x1b[31mred", escaped("\x1b[31mred"));
  EXPECT_EQ("a\\x00b\\x0a\\x7f", escaped(std::string_view("a\0b\n\x7f", 5)));
  // Unicode's own controls, one of which starts sequences like ESC [.
  EXPECT_EQ("\\xc2\\x9b31m", escaped("\xc2\x9b"
                                     "31m"));
  EXPECT_EQ("\u00a0", escaped("\u00a0"));
}

TEST(Escaped, MarksThatTurnTextAroundBecomeTheirBytes) {
  EXPECT_EQ("a\\xe2\\x80\\xaeb", escaped("a\u202eb"));
  EXPECT_EQ("\\xe2\\x81\\xa6", escaped("\u2066"));
  EXPECT_EQ("\\xe2\\x80\\xa8", escaped("\u2028"));
  EXPECT_EQ("\\xef\\xbb\\xbf", escaped("\ufeff"));
}

TEST(Escaped, BytesThatAreNotUtf8BecomeTheirBytes) {
  EXPECT_EQ("\\x80", escaped("\x80"));
  EXPECT_EQ("\\xff\\xfe", escaped("\xff\xfe"));
  EXPECT_EQ("\\xc0\\xaf", escaped("\xc0\xaf")) << "longer than needed";
  EXPECT_EQ("\\xe0\\x80\\xaf", escaped("\xe0\x80\xaf")) << "longer than needed";
  EXPECT_EQ("\\xf0\\x80\\x80\\xaf", escaped("\xf0\x80\x80\xaf")) << "longer than needed";
  EXPECT_EQ("\\xed\\xa0\\x80", escaped("\xed\xa0\x80")) << "a surrogate";
  EXPECT_EQ("\\xf4\\x90\\x80\\x80", escaped("\xf4\x90\x80\x80")) << "past the last character";
  EXPECT_EQ("\\xe2\\x82", escaped("\xe2\x82")) << "cut";
  EXPECT_EQ("\\xe2\\x82x", escaped("\xe2\x82x")) << "cut by another character";
}

/// Undoes the escapes.
std::string read_back(const std::string& text) {
  std::string bytes;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      bytes += text[i];
    } else if (text.at(i + 1) == '\\') {
      bytes += '\\';
      ++i;
    } else {
      bytes += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16));
      i += 3;
    }
  }
  return bytes;
}

TEST(Escaped, AnyBytesCanBeReadBackAndHoldNoControls) {
  uint32_t state = 1;
  for (int run = 0; run < 2000; ++run) {
    std::string bytes;
    for (uint32_t i = 0; i < 12; ++i) {
      state = state * 1664525 + 1013904223;
      // Lead bytes and continuations often enough to make whole characters.
      const uint32_t byte = state >> 24;
      bytes += static_cast<char>(run % 2 == 0 ? byte : (byte & 0x3f) | (i % 3 == 0 ? 0xc0 : 0x80));
    }
    const std::string text = escaped(bytes);
    EXPECT_EQ(bytes, read_back(text));
    for (const char each : text) {
      EXPECT_LE(0x20, static_cast<uint8_t>(each));
      EXPECT_NE(0x7f, each);
    }
  }
}

}  // namespace
