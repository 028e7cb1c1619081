/*
 * Builds the gain tables of a camera module from a calibration of the program's own, and prints
 * them.
 *
 * The calibration object is the NVM library's: qo_nvm_parse() makes one from an image. A program
 * whose calibration comes from elsewhere, from a test bench for instance, fills one itself.
 */
#include <qo_cmc/lsc.h>
#include <qo_nvm.h>
#include <stdio.h>

enum { grid_width = 5, grid_height = 5, samples = grid_width * grid_height };
enum { out_width = 9, out_height = 5 };
enum { as_stored = 0, channels = 4 };

/*
 * What a grid stores is what the gain has above 1, as a fixed-point number: with 8 fractional bits
 * 64 is a gain of 1.25. Up to 8 such bits the elements are bytes, with more of them u16.
 */
static const uint8_t daylight[samples] = {
    128, 96, 80, 96, 128,  //
    96,  48, 32, 48, 96,   //
    80,  32, 16, 32, 80,   //
    96,  48, 32, 48, 96,   //
    128, 96, 80, 96, 128,
};
static const uint16_t tungsten[samples] = {
    2560, 1920, 1600, 1920, 2560,  //
    1920, 960,  640,  960,  1920,  //
    1600, 640,  320,  640,  1600,  //
    1920, 960,  640,  960,  1920,  //
    2560, 1920, 1600, 1920, 2560,
};

/* Prints the planes of the first channel; the other three follow it in each block. */
static void print_tables(const char* title, const computed_upscale_lsc_tables* tables) {
  for (unsigned set = 0; set < tables->table_count; ++set) {
    printf("%s, set %u\n", title, set + 1);
    const float* const plane = tables->gain_tables[set];
    for (unsigned r = 0; r < out_height; ++r) {
      for (unsigned c = 0; c < out_width; ++c) printf(" %.3f", (double)plane[r * out_width + c]);
      printf("\n");
    }
  }
}

int main(void) {
  /* One set for each light source; here the four channels have the same grid. */
  lsc_calibration_set sets[] = {{.fraction_bits = 8}, {.fraction_bits = 12}};
  for (unsigned channel = 0; channel < channels; ++channel) {
    sets[0].channel_tables[channel] = daylight;
    sets[1].channel_tables[channel] = tungsten;
  }
  /* What is not named stays zero: this module has no map for record 30. */
  const calibration module = {
      .lsc_set_count = sizeof sets / sizeof sets[0],
      .lsc_grid_width = grid_width,
      .lsc_grid_height = grid_height,
      .lsc_sets = sets,
  };

  /*
   * Curves through the samples, as they are. Null says that a size is out of range, that a grid is
   * missing, or that there is no memory.
   */
  computed_upscale_lsc_tables* tables =
      compute_upscaled_lsc_tables_bicubic(out_width, out_height, &module, as_stored);
  if (tables == NULL) {
    fprintf(stderr, "no gain tables by bicubic interpolation\n");
    return 1;
  }
  print_tables("bicubic", tables);
  deinit_computed_upscale_lsc_tables(tables);

  /* A smooth surface near the samples, for grids with noise; its smallest gain is made 1. */
  tables = compute_upscaled_lsc_tables_polynom4th(out_width, out_height, &module, as_stored);
  if (tables == NULL) {
    fprintf(stderr, "no gain tables by the surface\n");
    return 1;
  }
  print_tables("surface", tables);
  deinit_computed_upscale_lsc_tables(tables);
  return 0;
}
