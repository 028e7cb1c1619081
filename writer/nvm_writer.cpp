#include "writer/nvm_writer.h"

#include "writer/filler_bytes.h"

namespace writer {

bytes nvm_image(const nvm_fields& fields) {
  filler_bytes filler(fields.filler);
  const size_t elements = size_t{fields.columns} * fields.rows;
  bytes image;
  image.text("QNVM").u32(0).u32(0).u16(1).u8(static_cast<uint8_t>(fields.sets.size()));
  image.u8(fields.columns).u8(fields.rows).u8(fields.grid ? 1 : 0).u16(0);
  for (const nvm_set& set : fields.sets) {
    image.u8(set.fraction_bits).zeros(3);
    for (size_t channel = 0; channel < 4; ++channel) {
      for (size_t i = 0; i < elements; ++i) {
        const uint16_t value = set.element ? set.element(channel, i) : filler.u8();
        if (set.fraction_bits > 8)
          image.u16(value);
        else
          image.u8(static_cast<uint8_t>(value));
      }
    }
  }
  if (fields.grid) {
    const nvm_grid& grid = *fields.grid;
    image.u8(grid.width).u8(grid.height).u8(grid.shift).u8(grid.has_values ? 1 : 0);
    const size_t points = grid.has_values ? size_t{grid.width} * grid.height : 0;
    for (size_t i = 0; i < points; ++i)
      image.u32(i < grid.values.size() ? grid.values[i] : (1u << grid.shift) + filler.u8());
  }
  seal_nvm_image(image);
  return image;
}

void seal_nvm_image(bytes& image) {
  uint32_t sum = 0x811c9dc5;
  for (size_t i = 12; i < image.size(); ++i) {
    sum ^= image.u8_at(i);
    sum *= 0x01000193;
  }
  image.patch_u32(4, static_cast<uint32_t>(image.size())).patch_u32(8, sum);
}

}  // namespace writer
