#include "tools/document/slots.h"

#include <algorithm>

#include "tools/document/field_notes.h"
#include "tools/document/number_array.h"
#include "tools/findings/escaped.h"

namespace document {
namespace {

// What one line, or one list, shows unless all is asked for.
constexpr size_t most_numbers = 8;
constexpr size_t most_bytes = 32;
constexpr size_t most_elements = 8;
// Tables of up to so many numbers are shown whole.
constexpr size_t small_table = 16;

[[nodiscard]] bool is_bytes_of_text(const json& value) {
  return value.is_object() && value.size() == 1 && value.begin().key() == "bytes";
}

[[nodiscard]] std::string more(size_t count) {
  return std::string("... ").append(std::to_string(count)).append(" more");
}

[[nodiscard]] std::string plain_number(const json& number) {
  return number.is_string() ? number.get<std::string>() : number.dump();
}

class printer {
 public:
  explicit printer(bool full) : full_(full) {}

  void print_slots(const json& slots) {
    size_t width = 0;
    for (const auto& [slot, value] : slots.items()) width = std::max(width, slot.size());
    for (const auto& [slot, value] : slots.items()) {
      if (value.is_null())
        line(0, slot, width, "empty");
      else
        print(0, slot, slot.size(), slot, value);
    }
  }
  [[nodiscard]] std::string take() { return std::move(text_); }

 private:
  void line(size_t depth, const std::string& label, size_t width, const std::string& value) {
    text_.append(2 * depth, ' ');
    text_ += label;
    if (!value.empty()) {
      text_.append(std::max(width, label.size()) - label.size() + 2, ' ');
      text_ += value;
    }
    text_ += '\n';
  }

  void print(size_t depth, const std::string& label, size_t width, const std::string& path,
             const json& value) {
    if (value.is_null()) return line(depth, label, width, note_for_null(without_indices(path)));
    if (is_bytes_of_text(value))
      return line(depth, label, width, "bytes " + value.begin()->get<std::string>());
    if (value.is_object()) {
      line(depth, label, 0, "");
      return print_members(depth + 1, path, value);
    }
    if (value.is_array()) return print_array(depth, label, width, path, value);
    line(depth, label, width, noted(scalar_text(label, value), note(path, value)));
  }

  void print_members(size_t depth, const std::string& path, const json& object) {
    size_t width = 0;
    for (const auto& [key, value] : object.items())
      if (is_in_one_line(value)) width = std::max(width, key.size());
    for (const auto& [key, value] : object.items()) {
      if (key == "fraction_bits" && value.is_number_unsigned())
        fraction_bits_ = value.get<unsigned>();
      std::string member = path;
      member.append(".").append(key);
      print(depth, key, width, member, value);
    }
  }

  [[nodiscard]] static bool is_in_one_line(const json& value) {
    return !value.is_structured() || is_bytes_of_text(value) ||
           (value.is_array() && (value.empty() || !shape_of(value).empty()));
  }

  void print_array(size_t depth, const std::string& label, size_t width, const std::string& path,
                   const json& array) {
    if (array.empty()) return line(depth, label, width, "none");
    const std::vector<size_t> shape = shape_of(array);
    if (shape.size() == 1 || (shape.size() == 2 && values_in(shape) <= small_table))
      return line(depth, label, width, noted(row_text(array, shape), note(path, array)));
    if (shape.size() == 2) return print_table(depth, label, width, path, array, shape);
    line(depth, label, width,
         ends_in_tables(path) && has_sites(path)
             ? "by row and column of the cell"
             : std::to_string(array.size()) + (array.size() == 1 ? " entry" : " entries"));
    print_elements(depth + 1, "", path, array);
  }

  /// Elements by their indices; sites of a cell by both of theirs, those without a table left out.
  void print_elements(size_t depth, const std::string& prefix, const std::string& path,
                      const json& array) {
    const size_t shown = full_ ? array.size() : std::min(array.size(), most_elements);
    for (size_t i = 0; i < shown; ++i) {
      const std::string index = std::string("[").append(std::to_string(i)).append("]");
      const json& element = array[i];
      if (element.is_null() && ends_in_tables(path)) continue;
      if (element.is_array() && shape_of(element).empty() && !element.empty())
        print_elements(depth, prefix + index, path + index, element);
      else
        print(depth, prefix + index, prefix.size() + index.size(), path + index, element);
    }
    if (shown < array.size()) line(depth, more(array.size() - shown), 0, "");
  }

  [[nodiscard]] static bool ends_in_tables(const std::string& path) {
    const std::string field = without_indices(path);
    return field.ends_with(".tables");
  }

  /// Tables of these slots belong to sites of the colour-filter cell.
  [[nodiscard]] static bool has_sites(const std::string& path) {
    return path.compare(0, 12, "lens_shading") == 0;
  }

  void print_table(size_t depth, const std::string& label, size_t width, const std::string& path,
                   const json& table, const std::vector<size_t>& shape) {
    const std::string range = range_text(path, table);
    if (!full_)
      return line(depth, label, width, shape_text(shape) + range + ": " + row_text(table, shape));
    line(depth, label, width, shape_text(shape) + range);
    for (const json& row : table) line(depth + 1, row_text(row, {shape[1]}), 0, "");
  }

  /// The least and the largest value; of samples with fraction bits also as gains.
  [[nodiscard]] std::string range_text(const std::string& path, const json& table) const {
    double least = 0, most = 0;
    bool first = true;
    for_each_number(table, [&](const json& number) {
      const double value = as_double(number);
      if (value != value) return;
      least = first ? value : std::min(least, value);
      most = first ? value : std::max(most, value);
      first = false;
    });
    if (first) return "";
    // Ten digits write every whole number of 32 bits.
    std::string text = ", " + number_text(least, 10) + " to " + number_text(most, 10);
    if (ends_in_tables(path) && has_sites(path) && fraction_bits_ <= 16) {
      const double one = 1u << fraction_bits_;
      text += " (" + gain_text(least / one) + " to " + gain_text(most / one) + ")";
    }
    return text;
  }

  [[nodiscard]] std::string row_text(const json& numbers, const std::vector<size_t>& shape) const {
    const size_t count = values_in(shape);
    const bool rows = shape.size() == 2 && count <= small_table;
    const size_t shown = full_ || rows ? count : std::min(count, most_numbers);
    std::string text;
    size_t index = 0;
    for_each_number(numbers, [&](const json& number) {
      if (index < shown) {
        if (index != 0) text.append(rows && index % shape[1] == 0 ? " / " : " ");
        text += plain_number(number);
      }
      ++index;
    });
    if (shown < count) text.append(" ").append(more(count - shown));
    return text;
  }

  [[nodiscard]] std::string scalar_text(const std::string& label, const json& value) const {
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    if (!value.is_string()) return value.dump();
    const std::string& string = value.get_ref<const std::string&>();
    if (label == "name" || label == "key" || label == "value")
      return std::string("\"").append(findings::escaped(string)).append("\"");
    if (is_number(value)) return string;
    if (string.empty()) return "no bytes";
    if (full_ || string.size() <= 2 * most_bytes) return string;
    return string.substr(0, 2 * most_bytes) + " " + more(string.size() / 2 - most_bytes);
  }

  [[nodiscard]] static std::string note(const std::string& path, const json& value) {
    return note_for(without_indices(path), value);
  }
  [[nodiscard]] static std::string noted(std::string text, const std::string& note) {
    return note.empty() ? text : std::move(text) + " (" + note + ")";
  }

  bool full_;
  unsigned fraction_bits_ = 0;
  std::string text_;
};

}  // namespace

std::string text_of(const json& slots, bool full) {
  printer result(full);
  result.print_slots(slots);
  return result.take();
}

}  // namespace document
