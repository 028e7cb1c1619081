// Parsing is bounded by copying: a large container, mostly lens-shading tables, beside the plain
// copies of the same bytes into the same allocations.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "qo_cmc/parser.h"
#include "writer/container_writer.h"
#include "writer/records.h"

namespace {

constexpr uint16_t lights = 162;
constexpr uint16_t width = 65;
constexpr uint16_t height = 49;
constexpr size_t planes = 4;
constexpr size_t plane_bytes = 2 * size_t{width} * height;
constexpr size_t light_head_bytes = 22;

struct workload {
  writer::bytes mapped = writer::record_28({.lights = lights, .width = width, .height = height});
  writer::bytes mapped_ext =
      writer::record_33({.lights = lights, .width = width, .height = height});
  std::vector<uint8_t> image = writer::container().add(mapped).add(mapped_ext).image();
};

const workload& the_workload() {
  static const workload made;
  return made;
}

void parse_and_tear_down(benchmark::State& state) {
  const std::vector<uint8_t>& image = the_workload().image;
  const qo_blob blob = writer::blob_of(image);
  for (auto _ : state) {
    parsed_cmc* const cmc = qo_cmc_parser_init(&blob);
    if (!cmc || !cmc->lens_shading || !cmc->lens_shading_ext) {
      state.SkipWithError("the container did not parse");
      return;
    }
    benchmark::DoNotOptimize(cmc->lens_shading->lights);
    qo_cmc_parser_deinit(cmc);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(image.size()));
}
BENCHMARK(parse_and_tear_down)->Unit(benchmark::kMillisecond);

void* copy_of(const uint8_t* bytes, size_t size) {
  void* const copy = std::malloc(size);
  std::memcpy(copy, bytes, size);
  benchmark::DoNotOptimize(copy);  // or a copy that is only released again is left out
  benchmark::ClobberMemory();
  return copy;
}

/// The blocks that parsing one record makes, and no more than copies into them.
void copy_record(const writer::bytes& record, size_t light_bytes, std::vector<void*>& blocks) {
  void* const record_copy = copy_of(record.data(), record.size());
  blocks.push_back(std::calloc(1, sizeof(lens_shading_set)));
  blocks.push_back(std::calloc(lights, light_bytes));
  const uint8_t* next = record.data() + 32;
  for (size_t light = 0; light < lights; ++light) {
    next += light_head_bytes;
    for (size_t plane = 0; plane < planes; ++plane, next += plane_bytes)
      blocks.push_back(copy_of(next, plane_bytes));
  }
  std::free(record_copy);
}

void copies_alone(benchmark::State& state) {
  const workload& work = the_workload();
  std::vector<void*> blocks;
  blocks.reserve(2 * (2 + planes * lights) + 1);
  for (auto _ : state) {
    blocks.push_back(std::calloc(1, sizeof(parsed_cmc)));
    copy_record(work.mapped, sizeof(lens_shading_light), blocks);
    copy_record(work.mapped_ext, sizeof(lens_shading_light_ext), blocks);
    benchmark::ClobberMemory();
    for (void* const block : blocks) std::free(block);
    blocks.clear();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(work.image.size()));
}
BENCHMARK(copies_alone)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
