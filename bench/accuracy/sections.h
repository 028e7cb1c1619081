/// The sections of the page, in its order.
#pragma once

namespace accuracy {

void print_fit_section();
void print_gain_section();
void print_bilinear_section();
void print_bicubic_section();
void print_area_section();
void print_nearest_section();
void print_matrix_section();

}  // namespace accuracy
