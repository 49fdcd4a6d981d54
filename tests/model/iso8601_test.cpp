#include "blindfold/model/json/iso8601.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>

#include "tests/model/sample_records.h"

namespace blindfold {
namespace {
using sample::instant;

TEST(ParseISO8601Test, ReadsUTC) {
  EXPECT_EQ(parseISO8601("2025-03-04T10:15:30Z"), instant(2025, 3, 4, 10, 15, 30));
}

TEST(ParseISO8601Test, AnOffsetAheadOfUTCIsTakenOff) {
  EXPECT_EQ(parseISO8601("2025-03-04T10:15:30+02:00"), instant(2025, 3, 4, 8, 15, 30));
  EXPECT_EQ(parseISO8601("2025-03-04T00:15:30+05:45"), instant(2025, 3, 3, 18, 30, 30));
}

TEST(ParseISO8601Test, AnOffsetBehindUTCIsAdded) {
  EXPECT_EQ(parseISO8601("2025-12-31T23:15:30-01:30"), instant(2026, 1, 1, 0, 45, 30));
}

TEST(ParseISO8601Test, OffsetsReachTo2359) {
  EXPECT_EQ(parseISO8601("2025-03-04T23:59:00+23:59"), instant(2025, 3, 4, 0, 0, 0));
  EXPECT_EQ(parseISO8601("2025-03-04T00:01:00-23:59"), instant(2025, 3, 5, 0, 0, 0));
  EXPECT_EQ(parseISO8601("2025-03-04T10:15:30+00:00"), instant(2025, 3, 4, 10, 15, 30));
  EXPECT_EQ(parseISO8601("2025-03-04T10:15:30-00:00"), instant(2025, 3, 4, 10, 15, 30));
}

TEST(ParseISO8601Test, TheUnixEpochIsZero) {
  EXPECT_EQ(parseISO8601("1970-01-01T00:00:00Z"), Instant{});
}

TEST(ParseISO8601Test, TheYearsReachFrom0000To9999) {
  EXPECT_EQ(parseISO8601("0000-01-01T00:00:00Z"), instant(0, 1, 1, 0, 0, 0));
  EXPECT_EQ(parseISO8601("9999-12-31T23:59:59Z"), instant(9999, 12, 31, 23, 59, 59));
}

TEST(ParseISO8601Test, AnOffsetMayNotLeadOutOfTheYears) {
  EXPECT_EQ(parseISO8601("0000-01-01T00:00:00+00:01"), std::nullopt);
  EXPECT_EQ(parseISO8601("9999-12-31T23:59:59-00:01"), std::nullopt);
  EXPECT_EQ(parseISO8601("9999-12-31T23:59:00-00:01"), std::nullopt);
  EXPECT_EQ(parseISO8601("0000-01-01T00:01:00+00:01"), instant(0, 1, 1, 0, 0, 0));
  EXPECT_EQ(parseISO8601("9999-12-31T23:58:59-00:01"), instant(9999, 12, 31, 23, 59, 59));
}

TEST(ParseISO8601Test, LeapDaysAreThoseOfTheGregorianCalendar) {
  EXPECT_TRUE(parseISO8601("2024-02-29T00:00:00Z"));
  EXPECT_TRUE(parseISO8601("2000-02-29T00:00:00Z"));
  EXPECT_TRUE(parseISO8601("0000-02-29T00:00:00Z"));
  EXPECT_FALSE(parseISO8601("2025-02-29T00:00:00Z"));
  EXPECT_FALSE(parseISO8601("1900-02-29T00:00:00Z"));
}

TEST(ParseISO8601Test, TheCalendarIsGregorianBeforeItsIntroductionToo) {
  EXPECT_EQ(*parseISO8601("1582-10-15T00:00:00Z") - *parseISO8601("1582-10-14T00:00:00Z"),
            std::chrono::days(1));
}

class RejectedDateTest : public testing::TestWithParam<std::string_view> {};

TEST_P(RejectedDateTest, IsNoInstant) {
  EXPECT_EQ(parseISO8601(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Fraction, RejectedDateTest,
                         testing::Values("2025-03-04T10:15:30.250Z", "2025-03-04T10:15:30,5Z",
                                         "2025-03-04T10:15:30.Z"));
INSTANTIATE_TEST_SUITE_P(NoTimeZone, RejectedDateTest,
                         testing::Values("2025-03-04T10:15:30", "2025-03-04", "2025-03-04T10:15"));
INSTANTIATE_TEST_SUITE_P(NoSuchDay, RejectedDateTest,
                         testing::Values("2025-02-30T00:00:00Z", "2025-04-31T00:00:00Z",
                                         "2025-00-10T00:00:00Z", "2025-13-01T00:00:00Z",
                                         "2025-01-00T00:00:00Z", "2025-01-32T00:00:00Z"));
INSTANTIATE_TEST_SUITE_P(NoSuchTime, RejectedDateTest,
                         testing::Values("2025-03-04T24:00:00Z", "2025-03-04T10:60:00Z",
                                         "2025-03-04T10:15:60Z", "2016-12-31T23:59:60Z"));
INSTANTIATE_TEST_SUITE_P(LowerCase, RejectedDateTest,
                         testing::Values("2025-03-04t10:15:30Z", "2025-03-04T10:15:30z",
                                         "2025-03-04t10:15:30z"));
INSTANTIATE_TEST_SUITE_P(Offset, RejectedDateTest,
                         testing::Values("2025-03-04T10:15:30+24:00", "2025-03-04T10:15:30+01:60",
                                         "2025-03-04T10:15:30+0200", "2025-03-04T10:15:30+02",
                                         "2025-03-04T10:15:30 02:00", "2025-03-04T10:15:30+2:00",
                                         "2025-03-04T10:15:30+02:00Z",
                                         "2025-03-04T10:15:30Z+02:00"));
INSTANTIATE_TEST_SUITE_P(Form, RejectedDateTest,
                         testing::Values("", "Z", " 2025-03-04T10:15:30Z", "2025-03-04T10:15:30Z ",
                                         "2025-03-04 10:15:30Z", "25-03-04T10:15:30Z",
                                         "2025-3-4T10:15:30Z", "20250304T101530Z",
                                         "12025-03-04T10:15:30Z", "-2025-03-04T10:15:30Z",
                                         "+2025-03-04T10:15:30Z", "2025-03-04T10:15:3\xC2\xB2Z",
                                         "2025-03-04T10:15:30ZZ", "2025-W10-2T10:15:30Z"));

TEST(FormatISO8601Test, WritesUTC) {
  EXPECT_EQ(formatISO8601(instant(2025, 3, 4, 10, 15, 30)), "2025-03-04T10:15:30Z");
  EXPECT_EQ(formatISO8601(instant(2025, 12, 31, 23, 59, 59)), "2025-12-31T23:59:59Z");
}

TEST(FormatISO8601Test, DropsTheFractionOfTheSecond) {
  EXPECT_EQ(formatISO8601(instant(2025, 3, 4, 10, 15, 30) + std::chrono::microseconds(999'999)),
            "2025-03-04T10:15:30Z");
}

TEST(FormatISO8601Test, DropsTheFractionDownwardsBefore1970Too) {
  EXPECT_EQ(formatISO8601(Instant{} - std::chrono::microseconds(1)), "1969-12-31T23:59:59Z");
}

TEST(FormatISO8601Test, FillsTheYearUpToFourDigits) {
  EXPECT_EQ(formatISO8601(instant(0, 1, 1, 0, 0, 0)), "0000-01-01T00:00:00Z");
  EXPECT_EQ(formatISO8601(instant(987, 6, 5, 4, 3, 2)), "0987-06-05T04:03:02Z");
}

TEST(FormatISO8601Test, WritesTheFirstAndTheLastSecond) {
  EXPECT_EQ(formatISO8601(instant(0, 1, 1, 0, 0, 0)), "0000-01-01T00:00:00Z");
  EXPECT_EQ(formatISO8601(instant(9999, 12, 31, 23, 59, 59) + std::chrono::microseconds(999'999)),
            "9999-12-31T23:59:59Z");
}

TEST(FormatISO8601Test, EveryDayOfACalendarCycleIsReadBack) {
  const Instant begin = instant(1800, 1, 1, 12, 34, 56);
  for (int day = 0; day < 146'097; ++day) {
    const Instant each = begin + std::chrono::days(day);
    ASSERT_EQ(parseISO8601(formatISO8601(each)), each) << formatISO8601(each);
  }
}
}  // namespace
}  // namespace blindfold
