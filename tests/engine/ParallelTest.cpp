// The pipeline that formats batches on all cores while the calling thread consumes the one
// before: every item is produced once, into its batch's slot, before that batch is consumed,
// and batches are consumed in order on the calling thread. Under ThreadSanitizer this also
// checks that a slot is never written while its batch is being consumed.

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "Parallel.h"

namespace {

class PipelineTest : public ::testing::TestWithParam<int> {
protected:
    void TearDown() override {
        Parallel::LimitWorkers(0);
        Parallel::ShareEverything(false);
    }
};

TEST_P(PipelineTest, ConsumesEveryBatchWholeAndInOrderOnTheCallingThread) {
    Parallel::LimitWorkers(unsigned(GetParam()));
    Parallel::ShareEverything(true);
    constexpr std::ptrdiff_t kBatches = 7, kItems = 50, kLast = 13;
    const auto size = [](std::ptrdiff_t batch) { return batch + 1 < kBatches ? kItems : kLast; };
    std::vector<long> slots[2] = {std::vector<long>(kItems, -1), std::vector<long>(kItems, -1)};
    std::vector<std::ptrdiff_t> consumed;
    const std::thread::id caller = std::this_thread::get_id();
    Parallel::Pipeline(
        kBatches, size, 1.0,
        [&](std::ptrdiff_t batch, std::ptrdiff_t item) {
            slots[batch % 2][std::size_t(item)] = long(batch * 1000 + item);
        },
        [&](std::ptrdiff_t batch) {
            EXPECT_EQ(std::this_thread::get_id(), caller);
            std::vector<long>& slot = slots[batch % 2];
            for (std::ptrdiff_t item = 0; item < size(batch); ++item) {
                EXPECT_EQ(slot[std::size_t(item)], batch * 1000 + item);
                slot[std::size_t(item)] = -1;
            }
            consumed.push_back(batch);
        });
    EXPECT_EQ(consumed, (std::vector<std::ptrdiff_t>{0, 1, 2, 3, 4, 5, 6}));
}

INSTANTIATE_TEST_SUITE_P(Workers, PipelineTest, ::testing::Values(1, 0));

}  // namespace
