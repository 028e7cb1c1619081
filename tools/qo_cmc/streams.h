/// The three standard streams, as the verbs see them: the program's own, or a test's.
#pragma once

#include <string>
#include <string_view>

namespace qo_cmc {

/// Where text goes.
class sink {
 public:
  sink() = default;
  virtual ~sink() = default;
  sink(const sink&) = delete;
  sink& operator=(const sink&) = delete;

  /// Throws `failure` when it cannot be written; so does flush().
  virtual void write(std::string_view text) = 0;
  virtual void flush() = 0;
};

/// A file descriptor, written in large pieces.
class descriptor_sink final : public sink {
 public:
  descriptor_sink(int number, std::string name) : number_(number), name_(std::move(name)) {}
  void write(std::string_view text) override;
  void flush() override;

 private:
  int number_;
  std::string name_;
  std::string pending_;
};

struct streams {
  int input;  ///< a file descriptor
  sink& output;
  sink& errors;
  bool output_is_terminal = false;
  bool errors_are_on_terminal = false;
};

/// Writes all of `bytes`; throws `failure` under this name.
void write_all(int descriptor, std::string_view bytes, const std::string& name);

}  // namespace qo_cmc
