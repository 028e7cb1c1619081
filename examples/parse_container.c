/*
 * Reads a tuning container from a file, parses it, and prints the module's name and the size of its
 * lens-shading tables. A second file, if given, is the NVM image of the module: the tables are then
 * rebuilt for it.
 */
#include <qo_cmc/parser.h>
#include <stdio.h>
#include <stdlib.h>

/* The whole file in a heap block; `data` is null when it cannot be read. */
static qo_blob read_file(const char* path) {
  qo_blob blob = {NULL, 0};
  FILE* const file = fopen(path, "rb");
  if (file == NULL) return blob;
  if (fseek(file, 0, SEEK_END) == 0) {
    const long size = ftell(file);
    void* const data = size > 0 && (unsigned long)size <= UINT32_MAX ? malloc((size_t)size) : NULL;
    rewind(file);
    if (data != NULL && fread(data, 1, (size_t)size, file) == (size_t)size) {
      blob.data = data;
      blob.size = (uint32_t)size;
    } else {
      free(data);
    }
  }
  fclose(file);
  return blob;
}

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    fprintf(stderr, "usage: %s CONTAINER [NVM_IMAGE]\n", argv[0]);
    return 2;
  }
  const qo_blob container = read_file(argv[1]);
  const qo_blob nvm = argc == 3 ? read_file(argv[2]) : (qo_blob){NULL, 0};

  parsed_cmc* const cmc = qo_cmc_parser_init_v1(&container, &nvm);
  /* Nothing in the parsed CMC points into the images. */
  free((void*)container.data);
  free((void*)nvm.data);
  if (cmc == NULL) {
    fprintf(stderr, "%s: not a valid container\n", argv[1]);
    return 1;
  }

  /* A slot is null when the container has no such record, or a malformed one. */
  if (cmc->general.name != NULL) printf("module: %s\n", cmc->general.name);
  const lens_shading_set* const shading = cmc->lens_shading;
  if (shading != NULL) {
    printf("lens shading: %u x %u, %u lights\n", shading->width, shading->height,
           shading->light_count);
  }

  qo_cmc_parser_deinit(cmc);
  return 0;
}
