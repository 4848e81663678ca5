#include "support/manual_clock.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

TEST(Clock, AStampIsWithinItsLifetimeUntilTheLastSecond) {
    ManualClock clock;
    const std::optional<QDateTime> stamp = clock.now();
    clock.advance(1799);
    EXPECT_TRUE(clock.isWithin(stamp, 1800s));
    clock.advance(1);
    EXPECT_FALSE(clock.isWithin(stamp, 1800s));
}

TEST(Clock, NoStampIsNeverWithinALifetime) {
    ManualClock clock;
    EXPECT_FALSE(clock.isWithin(std::nullopt, 1800s));
}
