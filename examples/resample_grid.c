/*
 * Enlarges a grid of gains in two ways, reduces it again, and prints the grids.
 *
 * The samples are fixed-point numbers with 10 fractional bits: 1024 is a gain of 1.
 */
#include <qo_cmc/image_utils.h>
#include <stdbool.h>
#include <stdio.h>

enum { coarse_width = 5, coarse_height = 4 };
enum { fine_width = 9, fine_height = 7, mean_side = 3 };
enum { fraction_bits = 10 };

static const uint16_t coarse[coarse_width * coarse_height] = {
    2048, 1536, 1408, 1600, 2176,  //
    1472, 1088, 1024, 1152, 1600,  //
    1408, 1056, 1024, 1120, 1536,  //
    1920, 1472, 1344, 1536, 2048,
};

/* Whether a routine did its work. A status other than 0 says that it has written nothing. */
static bool done(const char* routine, uint32_t status) {
  if (status == QO_CMC_OK) return true;
  const char* const why = status == QO_CMC_NO_MEMORY ? "no memory" : "refused the sizes";
  fprintf(stderr, "%s: %s (%u)\n", routine, why, (unsigned)status);
  return false;
}

static void print_grid(const char* title, const uint16_t* grid, unsigned width, unsigned height) {
  printf("%s\n", title);
  for (unsigned r = 0; r < height; ++r) {
    for (unsigned c = 0; c < width; ++c) printf("%5u", grid[r * width + c]);
    printf("\n");
  }
}

int main(void) {
  /* Straight lines between the samples. Both grids have samples in the corners of the picture. */
  uint16_t linear[fine_width * fine_height];
  if (!done("resize_2d_array_uint16", resize_2d_array_uint16(coarse, coarse_width, coarse_height,
                                                             linear, fine_width, fine_height)))
    return 1;
  print_grid("bilinear", linear, fine_width, fine_height);

  /*
   * Curves through the samples, which the lens is closer to. Here rows come before columns, the
   * fractional bits of the source are told, and those of the result are always 10.
   */
  uint16_t cubic[fine_width * fine_height];
  if (!done("bicubic_resize_u16_to_u16",
            bicubic_resize_u16_to_u16(coarse, coarse_height, coarse_width, fraction_bits, cubic,
                                      fine_height, fine_width)))
    return 1;
  print_grid("bicubic", cubic, fine_width, fine_height);

  /*
   * Means of areas, for a grid that becomes smaller. This one takes several planes at once, here
   * one; the null pointer at the end asks for all of it, not for a region.
   */
  uint16_t means[mean_side * mean_side];
  const uint16_t* const sources[] = {cubic};
  uint16_t* const results[] = {means};
  if (!done("image_downscale_u16_to_u16",
            image_downscale_u16_to_u16(sources, results, fine_width, fine_height, fraction_bits,
                                       mean_side, mean_side, fraction_bits, 1, NULL)))
    return 1;
  print_grid("area means", means, mean_side, mean_side);
  return 0;
}
