#include "bench/accuracy/page.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace accuracy {
namespace {

constexpr size_t page_width = 100;

[[nodiscard]] std::string printed(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

/// Decimals that leave two significant digits.
[[nodiscard]] int decimals(double value) {
  int places = 0;
  for (double size = std::fabs(value); size > 0 && size < 9.95 && places < 7; size *= 10) ++places;
  return places;
}

[[nodiscard]] std::string with_two_digits(double value, bool with_sign) {
  if (std::isnan(value)) return "NaN";
  if (value == 0) return "0";
  char text[64];
  std::snprintf(text, sizeof(text), with_sign ? "%+.*f" : "%.*f", decimals(value), value);
  return text;
}

}  // namespace

void heading(const char* text) { std::printf("\n## %s\n", text); }

void paragraph(const std::string& text) {
  std::printf("\n");
  size_t column = 0;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find(' ', begin), text.size());
    const size_t length = end - begin;
    if (column != 0 && column + 1 + length > page_width) {
      std::printf("\n");
      column = 0;
    }
    std::printf("%s%.*s", column == 0 ? "" : " ", static_cast<int>(length), text.data() + begin);
    column += (column == 0 ? 0 : 1) + length;
    begin = end + 1;
  }
  std::printf("\n");
}

table::~table() {
  std::vector<size_t> widths;
  for (const std::vector<std::string>& cells : lines_)
    for (size_t i = 0; i < cells.size(); ++i) {
      if (i == widths.size()) widths.push_back(3);
      widths[i] = std::max(widths[i], cells[i].size());
    }
  std::printf("\n");
  for (size_t line = 0; line < lines_.size(); ++line) {
    for (size_t i = 0; i < widths.size(); ++i) {
      const char* cell = i < lines_[line].size() ? lines_[line][i].c_str() : "";
      const int width = static_cast<int>(widths[i]);
      std::printf(i == 0 ? "| %-*s " : "| %*s ", width, cell);
    }
    std::printf("|\n");
    if (line != 0) continue;
    for (size_t i = 0; i < widths.size(); ++i)
      std::printf("|%s%s", std::string(widths[i] + 1, '-').c_str(), i == 0 ? "-" : ":");
    std::printf("|\n");
  }
}

std::string figure(double value) { return with_two_digits(value, false); }

std::string signed_figure(double value) { return with_two_digits(value, true); }

std::string magnitude(double value) { return value == 0 ? "0" : printed("%.0e", value); }

std::string percent(size_t part, size_t whole) {
  if (whole == 0) return "-";
  return figure(100.0 * static_cast<double>(part) / static_cast<double>(whole)) + " %";
}

std::string count(size_t number) {
  const std::string digits = std::to_string(number);
  std::string text;
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i != 0 && (digits.size() - i) % 3 == 0) text += ',';
    text += digits[i];
  }
  return text;
}

std::string sides(size_t width, size_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

std::string arrow(const std::string& from, const std::string& to) { return from + " -> " + to; }

}  // namespace accuracy
