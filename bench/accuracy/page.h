/// The page that comes out: Markdown on standard output, that is also read in a terminal.
#pragma once

#include <string>
#include <vector>

namespace accuracy {

void heading(const char* text);
/// One paragraph, filled to the width of a page.
void paragraph(const std::string& text);

/// A table whose first column is text and whose others are figures; printed when it ends.
class table {
 public:
  explicit table(std::vector<std::string> columns) : lines_{std::move(columns)} {}
  table(const table&) = delete;
  table& operator=(const table&) = delete;
  ~table();

  void line(std::vector<std::string> cells) { lines_.push_back(std::move(cells)); }

 private:
  std::vector<std::vector<std::string>> lines_;
};

/// `value` with two significant digits and no exponent, or with as many as an integer has.
[[nodiscard]] std::string figure(double value);
/// The same with the sign always written, for a mean that may lie on either side.
[[nodiscard]] std::string signed_figure(double value);
/// The same as a power of ten: 3e-07.
[[nodiscard]] std::string magnitude(double value);
/// A share of a whole in percent.
[[nodiscard]] std::string percent(size_t part, size_t whole);
[[nodiscard]] std::string count(size_t number);
/// columns x rows
[[nodiscard]] std::string sides(size_t width, size_t height);
/// from -> to
[[nodiscard]] std::string arrow(const std::string& from, const std::string& to);

}  // namespace accuracy
