// The index array against a sorted map: insertion, overwriting, search in both directions, and memory that
// does not come.

#include "aviparser/AviIndexArray.h"

#include <gtest/gtest.h>
#include <quorv/platform/memory.h>

#include <map>
#include <random>

namespace quorv::test {
namespace {

class AviIndexArrayTest : public testing::Test {
protected:
    ~AviIndexArrayTest() override { avi_clear_index(&index); }

    int32_t add(int64_t timestamp, uint32_t flags = 1, int64_t pos = 0, int32_t distance = 0) {
        return avi_add_index_entry(&index, pos, timestamp, 100, distance, flags);
    }
    int32_t search(int64_t timestamp, uint32_t flags) const {
        return avi_index_search_timestamp(&index, timestamp, flags);
    }

    AviIndexArray index = {};
};

TEST_F(AviIndexArrayTest, LargerDistanceOfTheSameChunkIsKept) {
    const std::tuple<int64_t, int32_t, int32_t> cases[] = {
        {500, 9, 9}, {500, 3, 9}, {500, 12, 12}, {501, 3, 3}};  // position, distance, what is kept
    for (const auto &[position, distance, kept] : cases) {
        add(10, 1, position, distance);
        EXPECT_EQ(index.entries[0].distance, kept);
        EXPECT_EQ(index.entries[0].pos, position);
        EXPECT_EQ(index.entries[0].flags_and_size, 100u << 2 | 1);
    }
    EXPECT_EQ(index.key_frame_count, 1u);  // only the appended ones count
}

TEST_F(AviIndexArrayTest, AgreesWithASortedMap) {
    std::mt19937 random(7);
    std::map<int64_t, bool> model;
    for (int i = 0; i < 3000; ++i) {
        const int64_t timestamp = static_cast<int64_t>(random() % 4000) - 2000;
        const bool key = random() % 7 == 0;
        const int32_t place = add(timestamp, key ? 1 : 0);
        model[timestamp] = key;
        ASSERT_EQ(place, std::distance(model.begin(), model.find(timestamp)));
    }
    ASSERT_EQ(index.count, model.size());
    const std::vector<std::pair<int64_t, bool>> sorted(model.begin(), model.end());
    for (int64_t timestamp = -2005; timestamp < 2005; ++timestamp) {
        for (const uint32_t flags : {0u, 1u, 4u, 5u}) {
            int32_t expected = -1;
            for (size_t i = 0; i < sorted.size(); ++i) {
                if ((flags & kAviSearchAnyFrame) == 0 && !sorted[i].second) continue;
                const bool backward = (flags & kAviSearchBackward) != 0;
                if (backward && sorted[i].first <= timestamp) expected = static_cast<int32_t>(i);
                if (!backward && sorted[i].first >= timestamp && expected < 0)
                    expected = static_cast<int32_t>(i);
            }
            ASSERT_EQ(search(timestamp, flags), expected) << timestamp << ", flags " << flags;
        }
    }
}

TEST(AviFastRealloc, GrowsWithRoomToSpareAndNeverWraps) {
    uint32_t allocated = 0;
    void *buffer = avi_fast_realloc(nullptr, &allocated, 1600);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(allocated, 1732u);
    EXPECT_EQ(avi_fast_realloc(buffer, &allocated, 1731), buffer);
    EXPECT_EQ(allocated, 1732u);
    EXPECT_EQ(avi_fast_realloc(buffer, &allocated, UINT32_MAX), nullptr);
    EXPECT_EQ(allocated, 0u);
    MMemFree(nullptr, buffer);
}

}  // namespace
}  // namespace quorv::test
