// The per-thread memo of pure results: a repeated request is answered without computing,
// a different one (down to the sign of a zero) is computed, and a crowded memo still answers
// every request correctly.
#include <cmath>

#include <gtest/gtest.h>

#include "platform/util/PureResultCache.h"

using tarvo::PureResultCache;

TEST(PureResultCache, RemembersEqualRequestsAndComputesOthers) {
    static PureResultCache<2, double, 8> cache;  // static storage: every slot starts empty
    int computed = 0;
    auto product = [&](double a, double b) {
        return cache.get(cache.keyOf(a, b), [&] {
            ++computed;
            return a * b;
        });
    };

    EXPECT_EQ(product(3, 4), 12);
    EXPECT_EQ(product(3, 4), 12);
    EXPECT_EQ(computed, 1);  // the second request was answered from the memo

    EXPECT_EQ(product(4, 3), 12);  // the order of the arguments is part of the request
    EXPECT_EQ(computed, 2);

    // 0.0 and -0.0 compare equal but are different requests: a pure function may tell them apart.
    EXPECT_EQ(std::signbit(product(0.0, 1)), false);
    EXPECT_EQ(std::signbit(product(-0.0, 1)), true);
    EXPECT_EQ(computed, 4);

    // Far more keys than slots: each answer is still the right one, whatever was replaced.
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 100; ++i) EXPECT_EQ(product(i, 0.5), i / 2.0);
    }
    EXPECT_GT(computed, 4 + 100);   // some requests had been pushed out and were computed again
    EXPECT_LE(computed, 4 + 300);
}
