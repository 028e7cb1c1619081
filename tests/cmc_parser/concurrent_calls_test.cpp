// Independent calls share nothing: they may run on different threads.

#include <atomic>
#include <thread>

#include "tests/kit/container_cycle.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace {

TEST(ConcurrentCalls, GiveWhatOneCallAfterTheOtherGives) {
  writer::container container;
  for (const writer::named_record& record : writer::every_good_record())
    container.add(record.content);
  const std::vector<uint8_t> image = container.image();
  const writer::bytes nvm = writer::nvm_image();
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
