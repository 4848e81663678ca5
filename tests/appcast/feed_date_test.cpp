#include "platform/appcast/feed_date.h"

#include <QTimeZone>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

QDateTime utc(int year, int month, int day, int hour, int minute, int second) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second), QTimeZone::utc());
}

std::optional<QDateTime> parsed(const char* text) {
    return parseFeedDate(QString::fromUtf8(text));
}

}  // namespace

TEST(FeedDate, ReadsTheStandardForm) {
    EXPECT_EQ(parsed("Fri, 09 Jan 2026 19:20:11 +0000"), utc(2026, 1, 9, 19, 20, 11));
}

TEST(FeedDate, AppliesANumericOffset) {
    EXPECT_EQ(parsed("Mon, 30 Sep 2024 19:12:23 -0600"), utc(2024, 10, 1, 1, 12, 23));
    EXPECT_EQ(parsed("Mon, 30 Sep 2024 19:12:23 +0530"), utc(2024, 9, 30, 13, 42, 23));
}

TEST(FeedDate, AcceptsAOneDigitDay) {
    EXPECT_EQ(parsed("Tue, 4 Mar 2025 10:00:00 +0000"), utc(2025, 3, 4, 10, 0, 0));
}

TEST(FeedDate, AcceptsNamesOfUniversalTime) {
    const QDateTime expected = utc(2025, 3, 4, 10, 0, 0);
    EXPECT_EQ(parsed("Tue, 04 Mar 2025 10:00:00 GMT"), expected);
    EXPECT_EQ(parsed("Tue, 04 Mar 2025 10:00:00 UTC"), expected);
    EXPECT_EQ(parsed("Tue, 04 Mar 2025 10:00:00 Z"), expected);
}

TEST(FeedDate, NeitherNeedsNorChecksTheWeekday) {
    const QDateTime expected = utc(2026, 1, 9, 19, 20, 11);
    EXPECT_EQ(parsed("Mon, 09 Jan 2026 19:20:11 +0000"), expected);
    EXPECT_EQ(parsed("09 Jan 2026 19:20:11 +0000"), expected);
}

TEST(FeedDate, ReadsMonthNamesInAnyCase) {
    EXPECT_EQ(parsed("Fri, 09 JAN 2026 19:20:11 +0000"), utc(2026, 1, 9, 19, 20, 11));
}

TEST(FeedDate, GivesNoDateForLocalisedNames) {
    EXPECT_EQ(parsed("\xec\x88\x98, 21 7\xec\x9b\x94 2021 10:00:00 +0900"), std::nullopt);
    EXPECT_EQ(parsed("Lun, 05 Ene 2021 10:00:00 +0000"), std::nullopt);
}

TEST(FeedDate, GivesNoDateForOtherLayouts) {
    EXPECT_EQ(parsed("2024-09-16"), std::nullopt);
    EXPECT_EQ(parsed(""), std::nullopt);
}

TEST(FeedDate, GivesNoDateForADayThatDoesNotExist) {
    EXPECT_EQ(parsed("Tue, 31 Feb 2025 10:00:00 +0000"), std::nullopt);
    EXPECT_EQ(parsed("Tue, 04 Mar 2025 25:00:00 +0000"), std::nullopt);
}
