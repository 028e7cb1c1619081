// qo_accuracy: measures the numeric routines against their definitions in double precision, or in
// whole numbers, and prints docs/accuracy.md. Nothing in it depends on the machine: the library
// gives the same bits everywhere, and so does double precision without functions.

#include <cstdio>

#include "bench/accuracy/sections.h"

int main() {
  std::printf(
      "# Accuracy\n\n"
      "Written by `./dev accuracy`: do not edit. Every table says how far a routine is from its "
      "own\n"
      "definition, formed in double precision or in whole numbers on the same input. What a table\n"
      "shows stays as it is, to the bit: each section ends with what to do where that is too "
      "much.\n"
      "\n"
      "- LSB: one unit of the integer that the routine writes.\n"
      "- p10: 16-bit values with 10 fractional bits, 1024 for 1.0.\n"
      "- Error: what the routine gives less what it is defined to give. A mean has its sign, the\n"
      "  largest error has none.\n"
      "- Sizes: columns x rows, and from -> to.\n");
  accuracy::print_fit_section();
  accuracy::print_gain_section();
  accuracy::print_bilinear_section();
  accuracy::print_bicubic_section();
  accuracy::print_area_section();
  accuracy::print_nearest_section();
  accuracy::print_matrix_section();
}
