/* A client that prints one number, made of all bits that a few numeric routines give: it is the
   same with whatever the library was built. */
#include <qo_cmc/image_utils.h>
#include <qo_cmc/lsc.h>
#include <stdio.h>

enum {
  width = 67,
  height = 41,
  out_width = 151,
  out_height = 97,
  small_width = 23,
  small_height = 9
};

static uint64_t sum = 14695981039346656037u; /* FNV-1a */

static void add(const void* bytes, size_t size) {
  for (size_t i = 0; i < size; ++i) sum = (sum ^ ((const uint8_t*)bytes)[i]) * 1099511628211u;
}

static uint32_t state = 1;

static uint32_t drawn(void) { /* a linear congruence's upper half */
  state = state * 1664525u + 1013904223u;
  return state >> 16;
}

int main(void) {
  static uint16_t words[height * width], words_out[out_height * out_width];
  static float numbers[height * width], numbers_out[out_height * out_width];
  for (size_t i = 0; i < sizeof words / sizeof *words; ++i) {
    words[i] = (uint16_t)drawn();
    numbers[i] = (float)drawn() / 1024.0f;
  }
  uint32_t failed = 0;

  const uint16_t* word_planes[1] = {words};
  uint16_t* word_planes_out[1] = {words_out};
  float* number_planes_out[1] = {numbers_out};
  failed |= image_bicubic_upscale_uint16_to_float(word_planes, number_planes_out, width, height,
                                                  out_width, out_height, 1);
  add(numbers_out, sizeof numbers_out);
  failed |= bicubic_resize_u16_to_u16(words, height, width, 12, words_out, out_height, out_width);
  add(words_out, sizeof words_out);
  failed |= resize_2d_array_uint16(words, width, height, words_out, out_width, out_height);
  add(words_out, sizeof words_out);
  failed |= resize_2d_array_float(numbers, width, height, numbers_out, out_width, out_height);
  add(numbers_out, sizeof numbers_out);
  failed |=
      image_upscale_nearest_neighbor_uint16(words, words_out, width, height, out_width, out_height);
  add(words_out, sizeof words_out);
  failed |= image_downscale_u16_to_u16(word_planes, word_planes_out, width, height, 12, small_width,
                                       small_height, 10, 1, NULL);
  add(words_out, sizeof words_out);
  do_polynomial_upscale(numbers_out, numbers, width, height, out_width, out_height);
  add(numbers_out, sizeof numbers_out);
  static float planes[4 * height * width];
  for (size_t i = 0; i < sizeof planes / sizeof *planes; ++i) planes[i] = (float)drawn() / 65536.0f;
  float* tables[1] = {planes};
  computed_upscale_lsc_tables gains = {1, tables};
  lens_shading_light target_light = {.tables = {{words_out}}};
  lens_shading_light_ext source_light = {.tables = {{words}}, .aux = 1};
  lens_shading_set target = {.light_count = 1, .width = width, .height = height};
  lens_shading_set source = target;
  target.lights = &target_light;
  source.lights_ext = &source_light;
  failed |= (uint32_t)ratio_based_sample_to_sample_correction(&target, &source, &gains, 257, 0);
  add(words_out, sizeof words);
  add(planes, sizeof planes);
  /* A matrix by its own transpose. */
  failed |= mul_mm(numbers, 4 * width, 4, width, height, numbers, 4, 4 * width, height, width,
                   numbers_out, 4 * height, 4);
  add(numbers_out, sizeof *numbers_out * height * height);

  printf("%u %016llx\n", (unsigned)failed, (unsigned long long)sum);
  return 0;
}
