#include "tools/findings/plausibility.h"

#include <span>
#include <string>

#include "tools/findings/numbers.h"

namespace findings {
namespace {

constexpr uint8_t first_version = 100;
constexpr uint8_t last_version = 103;
constexpr uint16_t sample_bits = 16;

[[nodiscard]] bool is_inside(float coordinate) { return coordinate >= 0.0f && coordinate <= 1.0f; }

template <typename Light>
void check_each(std::span<const Light> lights, const std::string& array,
                const record_reference& record, findings_list& found) {
  for (size_t i = 0; i < lights.size(); ++i) {
    const Light& light = lights[i];
    const std::string path = array + "[" + std::to_string(i) + "].";
    if (light.fraction_bits > sample_bits)
      found.add(describe(observation::fraction_bits_implausible),
                "light " + std::to_string(i) + " has " + std::to_string(light.fraction_bits),
                {.record = record, .field = path + "fraction_bits"});
    if (!is_inside(light.coords[0]) || !is_inside(light.coords[1]))
      found.add(describe(observation::coordinates_implausible),
                "light " + std::to_string(i) + " has " + text_of(light.coords[0]) + " and " +
                    text_of(light.coords[1]),
                {.record = record, .field = path + "coords"});
  }
}

}  // namespace

void check_version(const record_reference& record, findings_list& found) {
  if (record.version >= first_version && record.version <= last_version) return;
  found.add(describe(observation::version_unknown), "version " + std::to_string(record.version),
            {.record = record});
}

void check_lights(const lens_shading_set& set, const record_reference& record,
                  findings_list& found) {
  check_each(std::span<const lens_shading_light>(set.lights, set.light_count),
             "lens_shading.lights", record, found);
}

void check_lights_ext(const lens_shading_set& set, const record_reference& record,
                      findings_list& found) {
  check_each(std::span<const lens_shading_light_ext>(set.lights_ext, set.light_count),
             "lens_shading_ext.lights_ext", record, found);
}

}  // namespace findings
