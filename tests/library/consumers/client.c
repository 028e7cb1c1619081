/* A client in C: parses the container that the first argument names, and multiplies two matrices.
 */
#include <qo_cmc/lsc.h>
#include <qo_cmc/parser.h>
#include <qo_cmc/version.h>
#include <stdio.h>

int main(int argc, char** argv) {
  static uint8_t bytes[1 << 20];
  FILE* const file = argc == 2 ? fopen(argv[1], "rb") : NULL;
  if (file == NULL) return 2;
  const qo_blob container = {bytes, (uint32_t)fread(bytes, 1, sizeof bytes, file)};
  fclose(file);
  parsed_cmc* const cmc = qo_cmc_parser_init(&container);
  if (cmc == NULL) return 1;
  qo_cmc_parser_deinit(cmc);
  const float a = 3, b = 4;
  float product = 0;
  if (mul_mm(&a, 4, 4, 1, 1, &b, 4, 4, 1, 1, &product, 4, 4) != 0) return 1;
  printf("%d.%d.%d %g\n", QO_CMC_VERSION_MAJOR, QO_CMC_VERSION_MINOR, QO_CMC_VERSION_PATCH,
         (double)product);
  return 0;
}
