/*
 * Prints the lens-shading gains at one place of the picture, for each light source.
 *
 *     shading_at X Y CONTAINER [NVM]
 *
 * X and Y are fractions of the picture, 0 at the left and top edge, 1 at the right and bottom one.
 * With a module's NVM image the gains are those of that module. The exit status is 0 when they were
 * printed, 1 when there are none, 2 when the arguments are wrong or a file cannot be read.
 */
#include <qo_cmc/parser.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>

enum { largest_file = 64 << 20 };

/* Reads a whole file into memory that the caller frees; null, and a message, when that fails. */
static void* read_file(const char* name, uint32_t* size) {
  FILE* const file = fopen(name, "rb");
  if (file == NULL) {
    perror(name);
    return NULL;
  }
  void* const bytes = malloc(largest_file);
  if (bytes != NULL) *size = (uint32_t)fread(bytes, 1, largest_file, file);
  const bool whole = bytes != NULL && ferror(file) == 0 && fgetc(file) == EOF;
  fclose(file);
  if (whole) return bytes;
  fprintf(stderr, "%s: cannot be read whole\n", name);
  free(bytes);
  return NULL;
}

/* A fraction of the picture from an argument; negative when it is none. */
static double fraction(const char* text) {
  char* end;
  const double value = strtod(text, &end);
  return end != text && *end == '\0' && value >= 0 && value <= 1 ? value : -1;
}

/*
 * The gain at (x, y), between the four samples around it. A table covers the whole picture: its
 * corner samples stand in the picture's corners. Samples are fixed-point numbers.
 */
static double gain_at(const lens_shading_set* set, const lens_shading_light* light,
                      const uint16_t* table, double x, double y) {
  const double column = x * (set->width - 1), row = y * (set->height - 1);
  const size_t left = (size_t)column, top = (size_t)row;
  const size_t right = left + 1 < set->width ? left + 1 : left;
  const size_t bottom = top + 1 < set->height ? top + 1 : top;
  const double to_right = column - (double)left, down = row - (double)top;
  const uint16_t* const upper = table + top * set->width;
  const uint16_t* const lower = table + bottom * set->width;
  const double above = upper[left] * (1 - to_right) + upper[right] * to_right;
  const double below = lower[left] * (1 - to_right) + lower[right] * to_right;
  return (above * (1 - down) + below * down) / (1 << light->fraction_bits);
}

/* The record's numbers stand in the slot as they are: only what they count is sure to be there. */
static bool print_gains(const lens_shading_set* set, double x, double y) {
  if (set->light_count == 0 || set->width == 0 || set->height == 0) return false;
  for (unsigned i = 0; i < set->light_count; ++i) {
    const lens_shading_light* const light = &set->lights[i];
    if (light->fraction_bits > 16) return false;
    printf("light %u:", (unsigned)light->light_id);
    /* One table for each site of the colour-filter cell that has a colour. */
    for (unsigned r = 0; r < 4; ++r)
      for (unsigned c = 0; c < 4; ++c)
        if (light->tables[r][c] != NULL)
          printf("  [%u][%u] %.4f", r, c, gain_at(set, light, light->tables[r][c], x, y));
    printf("\n");
  }
  return true;
}

int main(int argc, char** argv) {
  const double x = argc == 4 || argc == 5 ? fraction(argv[1]) : -1;
  const double y = argc == 4 || argc == 5 ? fraction(argv[2]) : -1;
  if (x < 0 || y < 0) {
    fprintf(stderr, "usage: shading_at X Y CONTAINER [NVM], X and Y from 0 to 1\n");
    return 2;
  }
  uint32_t size = 0, nvm_size = 0;
  void* const bytes = read_file(argv[3], &size);
  void* const nvm_bytes = argc == 5 ? read_file(argv[4], &nvm_size) : NULL;
  const bool all_read = bytes != NULL && (argc == 4 || nvm_bytes != NULL);

  const qo_blob container = {bytes, size};
  /* An image without data counts as none, and so does one that the NVM library refuses. */
  const qo_blob nvm = {nvm_bytes, nvm_size};
  parsed_cmc* const cmc = all_read ? qo_cmc_parser_init_v1(&container, &nvm) : NULL;
  /* Nothing in the parsed CMC points into the images. */
  free(bytes);
  free(nvm_bytes);
  if (cmc == NULL) {
    if (all_read) fprintf(stderr, "%s: not a valid container\n", argv[3]);
    return all_read ? 1 : 2;
  }

  /* The slot is null when the container has no lens-shading record, or a malformed one. */
  const lens_shading_set* const shading = cmc->lens_shading;
  const bool printed = shading != NULL && print_gains(shading, x, y);
  if (!printed) fprintf(stderr, "%s: has no gains there\n", argv[3]);
  qo_cmc_parser_deinit(cmc);
  return printed ? 0 : 1;
}
