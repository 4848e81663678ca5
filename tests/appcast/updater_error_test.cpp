#include "platform/appcast/updater_error.h"

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

using Code = UpdaterError::Code;
using Reason = NoUpdateFound::Reason;

NoUpdateFound reportOf(Reason reason) {
    NoUpdateFound report;
    report.reason = reason;
    report.latestItem.emplace();
    report.latestItem->versionString = QStringLiteral("320");
    report.latestItem->displayVersionString = QStringLiteral("3.2");
    return report;
}

}  // namespace

TEST(UpdaterError, UsesTheFrameworksDomainAndNumbers) {
    EXPECT_EQ(UpdaterError::domain, QLatin1String("SUSparkleErrorDomain"));
    EXPECT_EQ(static_cast<int>(Code::appcastParse), 1000);
    EXPECT_EQ(static_cast<int>(Code::noUpdate), 1001);
    EXPECT_EQ(static_cast<int>(Code::download), 2001);
    EXPECT_EQ(static_cast<int>(Code::validation), 3002);
    EXPECT_EQ(static_cast<int>(Code::installationWriteNoPermission), 4012);
}

TEST(UpdaterError, KeepsTheReasonOfAFeedParseErrorUnderneath) {
    const UpdaterError error = UpdaterError::appcastParse(QStringLiteral("line 3, column 9: oops"));
    EXPECT_EQ(error.code(), Code::appcastParse);
    EXPECT_EQ(error.underlyingError(), QStringLiteral("line 3, column 9: oops"));
    EXPECT_STREQ(error.what(),
                 "An error occurred while reading the update feed (line 3, column 9: oops)");
}

TEST(UpdaterError, ReportsNoUpdateWithTheLatestItemAndNothingUnderneath) {
    const UpdaterError error = UpdaterError::noUpdateFound(
        reportOf(Reason::onLatestVersion), QStringLiteral("Editor"), QStringLiteral("3.2"));
    EXPECT_EQ(error.code(), Code::noUpdate);
    EXPECT_EQ(error.description(), u"You're up to date!");
    EXPECT_EQ(error.recoverySuggestion(), QStringLiteral("Editor 3.2 is the latest version."));
    EXPECT_EQ(error.underlyingError(), std::nullopt);
    ASSERT_TRUE(error.noUpdateFoundReport());
    EXPECT_EQ(error.noUpdateFoundReport()->latestItem,
              reportOf(Reason::onLatestVersion).latestItem);
}

TEST(UpdaterError, SaysWhenTheSystemIsTooOldOrTooNew) {
    const UpdaterError tooOld = UpdaterError::noUpdateFound(
        reportOf(Reason::systemIsTooOld), QStringLiteral("Editor"), QStringLiteral("3.1"));
    EXPECT_EQ(tooOld.description(), u"Your macOS version is too old");
    EXPECT_EQ(tooOld.recoverySuggestion(),
              QStringLiteral("Editor 3.2 needs a newer version of macOS."));
    const UpdaterError tooNew = UpdaterError::noUpdateFound(
        reportOf(Reason::systemIsTooNew), QStringLiteral("Editor"), QStringLiteral("3.1"));
    EXPECT_EQ(tooNew.description(), u"Your macOS version is too new");
}
