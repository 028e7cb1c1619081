#include <fcntl.h>
#include <unistd.h>

#include "tools/qo_cmc/program.h"

namespace {

/// A file that is opened later must not take the place of a standard stream that is closed. What
/// stands there then can be neither read nor written.
void occupy_closed_streams() {
  for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(number, F_GETFD) < 0)
      (void)open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

}  // namespace

int main(int argc, char** argv) {
  occupy_closed_streams();
  qo_cmc::descriptor_sink output(STDOUT_FILENO, "standard output");
  qo_cmc::descriptor_sink errors(STDERR_FILENO, "standard error");
  return qo_cmc::run(argc, argv,
                     {.input = STDIN_FILENO,
                      .output = output,
                      .errors = errors,
                      .output_is_terminal = isatty(STDOUT_FILENO) != 0,
                      .errors_are_on_terminal = isatty(STDERR_FILENO) != 0});
}
