#include "runners/actions/LaunchRecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace trigora {
namespace {

Data zeros(std::size_t count) { return Data(count, 0); }

Data joined(const std::vector<Data>& pieces) {
    Data bytes;
    for (const Data& piece : pieces) {
        bytes.insert(bytes.end(), piece.begin(), piece.end());
    }
    return bytes;
}

TEST(LaunchRecord, HasEveryByteInItsPlace) {
    const Dictionary data{{"ResponderSignature", std::int64_t{0xFEDCBA98}},
                          {"NextAssistCreator", 0x01020304},
                          {"EventID", "105"},
                          {"ProjectID", "911"},
                          {"driverName", "GT-é"}};
    const Data expected = joined({{'r', 'T', 'n', 'S'},
                                  {'1', 'r', 'T', 't'},
                                  {0x98, 0xBA, 0xDC, 0xFE},
                                  {0x04, 0x03, 0x02, 0x01},
                                  zeros(72),
                                  {5, 0, 0, 0},
                                  {0x8F, 0x03, 0, 0},
                                  {5, 'G', 'T', '-', 0xC3, 0xA9},
                                  zeros(28),
                                  zeros(238)});
    EXPECT_EQ(expected.size(), 368U);
    EXPECT_EQ(bytesOf(launchRecord(data)), expected);
}

TEST(LaunchRecord, CutsTheDriverNameUnevenly) {
    struct Case {
        std::size_t nameLength;
        int length;
        int bytes;
    };
    for (const Case& c : {Case{0, 0, 0}, Case{32, 32, 32}, Case{33, 33, 33}, Case{34, 32, 33},
                          Case{40, 32, 33}, Case{1000, 32, 33}}) {
        const LaunchRecord record = launchRecord({{"driverName", std::string(c.nameLength, 'n')}});
        EXPECT_EQ(record.driverNameLength, c.length) << c.nameLength;
        EXPECT_EQ(std::count(record.driverName.begin(), record.driverName.end(), 'n'), c.bytes)
            << c.nameLength;
    }
}

TEST(LaunchRecord, CountsWhatIsMissingOrUnusableAsZero) {
    const LaunchRecord empty = launchRecord({});
    EXPECT_EQ(empty.eventNumber, -100);
    EXPECT_EQ(empty.projectID, 0);
    const LaunchRecord odd = launchRecord({{"EventID", std::numeric_limits<std::int64_t>::min()},
                                           {"ProjectID", Array{"911"}},
                                           {"driverName", 7}});
    EXPECT_EQ(odd.eventNumber, -100);
    EXPECT_EQ(odd.projectID, 0);
    EXPECT_EQ(odd.driverNameLength, 0);
}

} // namespace
} // namespace trigora
