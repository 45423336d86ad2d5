// The pieces of the direct commands: headers, cuts, events and the ledger of frames.

#include <gtest/gtest.h>

#include "host/program_error.h"
#include "tools/direct/avsync_header.h"
#include "tools/direct/cut_sizes.h"
#include "tools/direct/frame_ledger.h"
#include "tools/direct/stream_events.h"

namespace {

using bytes = std::vector<uint8_t>;

TEST(AvSyncHeader, EveryFieldIsBigEndianAndInItsPlace) {
    const bytes fields = {0x11, 0x22, 0x33, 0x44, 0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
    const struct {
        avsync_framing framing;
        bytes rest;  // behind the fields that both versions have
    } rows[] = {
        {{1, 16}, {}},
        {{2, 20}, {0, 0, 0, 20}},
        {{2, 0x123},
         [] {
             bytes padded(0x123 - 16);
             padded[2] = 0x01;
             padded[3] = 0x23;
             return padded;
         }()},
    };
    for (const auto& row : rows) {
        bytes expected = {0xAA, 0x55, 0x55, 0x00, static_cast<uint8_t>(row.framing.version)};
        expected.insert(expected.end(), fields.begin(), fields.end());
        expected.insert(expected.end(), row.rest.begin(), row.rest.end());
        bytes out = {0xAA};
        append_avsync_header(out, row.framing, 0x11223344, 0x0123456789ABCDEF);
        EXPECT_EQ(out, expected) << "version " << row.framing.version;
    }
}

TEST(AvSyncHeader, OnlySixAndEightChannelsAreWrittenWithTheWideOffset) {
    for (unsigned channels = 1; channels <= 8; ++channels) {
        EXPECT_EQ(customary_framing(1, channels).data_offset, 16U);
        EXPECT_EQ(customary_framing(2, channels).data_offset,
                  channels == 6 || channels == 8 ? 48U : 20U);
    }
}

std::vector<size_t> first_sizes(const std::string& text, size_t count) {
    cut_sizes cuts(text, 1024);
    std::vector<size_t> sizes(count);
    for (size_t& size : sizes) {
        size = cuts.next();
    }
    return sizes;
}

TEST(CutSizes, TextsGiveTheirSizes) {
    EXPECT_EQ(first_sizes("", 2), (std::vector<size_t>{1024, 1024}));
    EXPECT_EQ(first_sizes("1", 2), (std::vector<size_t>{1, 1}));
    EXPECT_EQ(first_sizes("3,1048576,2", 4), (std::vector<size_t>{3, 1048576, 2, 3}));
    for (const char* text : {"0", "-1", "1048577", "99999999999999999999", "1,", ",1", "1;2", "x",
                             "random:", "random:-1", "random:4294967296", "randomly", " 1"}) {
        EXPECT_THROW(cut_sizes(text, 1024), program_error) << text;
    }
}

TEST(CutSizes, RandomOnesAreReproducibleAndOfEveryMagnitude) {
    const std::vector<size_t> sizes = first_sizes("random:7", 1000);
    EXPECT_EQ(sizes, first_sizes("random:7", 1000));
    EXPECT_NE(sizes, first_sizes("random:8", 1000));
    EXPECT_GE(*std::min_element(sizes.begin(), sizes.end()), 1U);
    EXPECT_LE(*std::max_element(sizes.begin(), sizes.end()), 4096U);
    const auto below = [&](size_t limit) {
        return std::count_if(sizes.begin(), sizes.end(), [&](size_t s) { return s <= limit; });
    };
    EXPECT_GT(below(20), 50) << "headers have to be cut";
    EXPECT_LT(below(1024), 950) << "and several frames have to come at once";
    EXPECT_NE(cut_sizes("random", 1024).text(), cut_sizes("random", 1024).text())
        << "each run has a seed of its own, and says it";
}

TEST(StreamEvents, OptionsBecomeEventsInTheirOrder) {
    const auto events = parse_events({"3", "1:0.25"}, {"2", "1"}, {"0:10.5"});
    const struct {
        event_kind kind;
        double at_s;
        double value_s;
    } expected[] = {
        {event_kind::seek, 0, 10.5}, {event_kind::pause, 1, 0.25}, {event_kind::flush, 1, 1},
        {event_kind::flush, 2, 1},   {event_kind::pause, 3, 1},
    };
    ASSERT_EQ(events.size(), std::size(expected));
    for (size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(events[i].kind, expected[i].kind) << i;
        EXPECT_EQ(events[i].at_s, expected[i].at_s) << i;
        EXPECT_EQ(events[i].value_s, expected[i].value_s) << i;
    }
}

TEST(StreamEvents, WhatIsNoTimeIsRefused) {
    for (const char* text : {"", "-1", "x", "1:", ":1", "1:2:3", "1:-2", "nan", "inf", "1e7"}) {
        EXPECT_THROW(parse_events({text}, {}, {}), program_error) << text;
        EXPECT_THROW(parse_events({}, {text}, {}), program_error) << text;
        EXPECT_THROW(parse_events({}, {}, {text}), program_error) << text;
    }
    EXPECT_THROW(parse_events({}, {"1:2"}, {}), program_error);
    EXPECT_THROW(parse_events({}, {}, {"1"}), program_error);
}

TEST(FrameLedger, AFlushDropsWhatWasNotDecodedYet) {
    const struct {
        const char* name;
        uint64_t count_before, count_after;  // at the flush, 1000 frames sent
        uint64_t flushed, surplus;
        uint64_t count_at_end;  // 500 frames sent since
        uint64_t decoded;
        int64_t missing;
    } rows[] = {
        {"the count starts over", 700, 0, 300, 0, 500, 1200, 0},
        {"the count goes on", 700, 700, 300, 0, 1200, 1200, 0},
        {"decoded on until the flush", 700, 800, 200, 0, 1300, 1300, 0},
        {"all was decoded", 1000, 0, 0, 0, 400, 1400, 100},
        {"more than was sent", 1001, 0, 0, 1, 501, 1502, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        frame_ledger ledger;
        ledger.send(600);
        ledger.send(400);
        ledger.flush(row.count_before, row.count_after);
        ledger.send(500);
        EXPECT_EQ(ledger.sent(), 1500U);
        EXPECT_EQ(ledger.flushed(), row.flushed);
        EXPECT_EQ(ledger.surplus(), row.surplus);
        EXPECT_EQ(ledger.decoded(row.count_at_end), row.decoded);
        EXPECT_EQ(ledger.missing(row.count_at_end), row.missing);
    }
}

}  // namespace
