#include "audiskdelay/delay_soak.h"

namespace auspool::testing {
namespace {

TYPED_TEST_SUITE(DelaySoak, DelayGenerations, DelayNames);

TYPED_TEST(DelaySoak, GivesNothingButWhatWasWritten) {
  this->soak(std::chrono::milliseconds(1000));
}

TYPED_TEST(DelaySoak, EndsAtOnceWhateverItIsDoing) {
  const NoBus no_bus;
  const std::vector<float> block(2 * 4800, 0.5f);
  for (int i = 0; i < 20; ++i) {
    auto *const other = TypeParam::create(20, 48000);
    ASSERT_TRUE(other);
    TypeParam::write(other, block.data(), i * 240);
    TypeParam::destroy(other);
  }
}

// Values are told on the reading thread while another adds them.
TEST(OutOfBandValues, AreToldInOrder) {
  struct Told {
    std::atomic<int> last = -1;
    int wrong = 0;
  } told;
  const audiskdelay_callbacks callbacks{&told, nullptr, nullptr, [](void *context, void *value) {
                                          Told &all = *static_cast<Told *>(context);
                                          const int number = *static_cast<int *>(value);
                                          if (number <= all.last) ++all.wrong;
                                          all.last = number;
                                        }};
  ::audiskdelay *const delay = audiskdelay_create(20, 1, &callbacks, 48000);
  ASSERT_TRUE(delay);
  std::vector<int> numbers(300);
  std::thread writer([&] {
    const std::vector<float> block(2 * 100, 0.5f);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      numbers[i] = static_cast<int>(i);
      (void)audiskdelay_add_oob_value(delay, &numbers[i], [](void *, void *) {});
      audiskdelay_write(delay, block.data(), 100);
      std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    while (told.last < 299) audiskdelay_write(delay, block.data(), 100);
  });
  std::vector<float> out(2 * 64);
  while (told.last < 299) {
    audiskdelay_read(delay, out.data(), 64);
    std::this_thread::yield();
  }
  writer.join();
  audiskdelay_destroy(delay);
  EXPECT_EQ(told.wrong, 0);
}

}  // namespace
}  // namespace auspool::testing
