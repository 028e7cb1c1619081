// man_page TEMPLATE PAGE: writes the manual page's source, in which the line @findings@ has become
// the list of all codes.

#include <cstdio>
#include <fstream>
#include <string>

#include "tools/findings/codes.h"

namespace {

/// What scdoc would take for markup stands after a backslash.
std::string literal(const char* text) {
  std::string result;
  for (; *text != '\0'; ++text) {
    if (*text == '*' || *text == '_' || *text == '\\') result += '\\';
    result += *text;
  }
  return result;
}

void write_findings(std::ostream& out) {
  for (const findings::code_description& each : findings::every_code())
    out << '*' << literal(each.word) << "* (" << findings::word_of(each.how_bad) << ")\n\t"
        << literal(each.sentence) << "++\n"
        << literal(each.advice) << "\n\n";
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  std::ifstream page(arguments[1]);
  std::ofstream out(arguments[2]);
  bool found = false;
  for (std::string line; std::getline(page, line);) {
    if (line == "@findings@") {
      found = true;
      write_findings(out);
    } else {
      out << line << '\n';
    }
  }
  out.close();
  if (found && out) return 0;
  std::fprintf(stderr, "man_page: cannot read %s, find @findings@ in it or write %s\n",
               arguments[1], arguments[2]);
  return 1;
}
