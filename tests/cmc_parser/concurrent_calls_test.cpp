// Independent calls share nothing: they may run on different threads.

#include <atomic>
#include <thread>

#include "tests/cmc_parser/container_cycle.h"
#include "tests/kit/nvm_writer.h"
#include "tests/kit/records.h"

namespace {

TEST(ConcurrentCalls, GiveWhatOneCallAfterTheOtherGives) {
  kit::container container;
  for (const kit::named_record& record : kit::every_good_record()) container.add(record.content);
  const std::vector<uint8_t> image = container.image();
  const kit::bytes nvm = kit::nvm_image();
  const qo_blob nvm_blob = {nvm.data(), static_cast<uint32_t>(nvm.size())};
  const uint64_t expected = kit::tour_of(*kit::parse(image, &nvm_blob)).digest;

  std::atomic<int> equal = 0;
  constexpr int threads = 4;
  constexpr int rounds = 50;
  {
    std::vector<std::jthread> running;
    for (int i = 0; i < threads; ++i) {
      running.emplace_back([&] {
        for (int round = 0; round < rounds; ++round)
          equal += kit::tour_of(*kit::parse(image, &nvm_blob)).digest == expected;
      });
    }
  }
  EXPECT_EQ(threads * rounds, equal);
}

}  // namespace
