#include "suite/telemetry/group_commit.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using namespace std::chrono_literals;

struct Item {
    int value = 0;
    bool written = false;
};
using Group = pelora::GroupCommit<Item>;

// The list is unguarded on purpose: writers must exclude one another.
TEST(GroupCommit, WritesEachItemOnceAndReturnsAfterIt) {
    Group group;
    std::vector<int> written;
    std::atomic<int> failures{0};
    InThreads(4, [&](int thread) {
        for (int i = 0; i < 500; ++i) {
            Item item{thread * 1000 + i};
            const bool submitted = group.Submit(item, Group::Clock::now() + 60s, [&](const Group::Take& take) {
                for (Item* const each : take()) {
                    written.push_back(each->value);
                    each->written = true;
                }
            });
            if (!submitted || !item.written) ++failures;
        }
    });
    EXPECT_EQ(failures, 0);
    ASSERT_EQ(written.size(), 2000u);
    std::sort(written.begin(), written.end());
    EXPECT_EQ(std::adjacent_find(written.begin(), written.end()), written.end());
}

TEST(GroupCommit, GivesUpWaitingForAWriterThatHangs) {
    Group group;
    std::atomic<bool> hanging{false}, release{false};
    std::thread slow([&] {
        Item item;
        group.Submit(item, Group::Clock::now() + 60s, [&](const Group::Take& take) {
            take();
            hanging = true;
            while (!release) std::this_thread::yield();
        });
    });
    while (!hanging) std::this_thread::yield();
    Item late;
    EXPECT_FALSE(
        group.Submit(late, Group::Clock::now() + 20ms, [](const Group::Take&) { FAIL() << "not the leader"; }));
    release = true;
    slow.join();
    // It was withdrawn: nobody may touch it any more.
    Item next;
    EXPECT_TRUE(group.Submit(next, Group::Clock::now() + 60s,
                             [&](const Group::Take& take) { EXPECT_EQ(take(), Group::Batch{&next}); }));
}

TEST(GroupCommit, EndsWhenTheWriterTookNothing) {
    Group group;
    Item item;
    EXPECT_TRUE(group.Submit(item, Group::Clock::now() + 60s, [](const Group::Take&) {}));
    EXPECT_FALSE(item.written);
}

}  // namespace
