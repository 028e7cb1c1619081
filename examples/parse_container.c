/* Parses a tuning container and prints what it says of the camera module. */
#include <qo_cmc/parser.h>
#include <qo_cmc/unaligned.h>
#include <stdio.h>
#include <stdlib.h>

enum { largest_file = 64 << 20 };

int main(int argc, char** argv) {
  FILE* const file = argc == 2 ? fopen(argv[1], "rb") : NULL;
  if (file == NULL) {
    fprintf(stderr, "usage: parse_container FILE\n");
    return 2;
  }
  void* const bytes = malloc(largest_file);
  const size_t size = bytes != NULL ? fread(bytes, 1, largest_file, file) : 0;
  fclose(file);

  /* qo_cmc_parser_init_v1() takes the NVM image of one module besides. */
  const qo_blob container = {bytes, (uint32_t)size};
  parsed_cmc* const cmc = qo_cmc_parser_init(&container);
  free(bytes); /* nothing in the parsed CMC points into the container */
  if (cmc == NULL) {
    fprintf(stderr, "%s: not a valid container\n", argv[1]);
    return 1;
  }

  /* A slot is null when the container has no such record, or a malformed one. */
  if (cmc->general.name != NULL) printf("module: %s\n", cmc->general.name);
  const lens_shading_set* const shading = cmc->lens_shading;
  if (shading != NULL)
    printf("lens shading: %u lights, %u x %u\n", shading->light_count, shading->width,
           shading->height);
  if (cmc->record_16.record != NULL) {
    /* A u16 count at byte 12 of the record. The items of 4 bytes that follow are aligned to 2. */
    const uint16_t count = qo_cmc_read_u16(cmc->record_16.record, 12);
    for (size_t i = 0; i < count; ++i)
      printf("record 16, item %zu: 0x%08x\n", i,
             (unsigned)qo_cmc_read_u32(cmc->record_16.payload, 4 * i));
  }

  qo_cmc_parser_deinit(cmc);
  return 0;
}
