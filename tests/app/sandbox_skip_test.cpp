#include "sandbox_fixture.h"

#include <QJsonArray>

// `skip` end to end: a skipped version stops showing in the next search; the
// store's updates cannot be skipped.
namespace {

class SandboxSkip : public SandboxFixture {
protected:
    QJsonObject pendingUpdates() const {
        return jsonOf({QStringLiteral("updates"), QStringLiteral("--json")}).object();
    }

    // The values of `key` over one list of `updates`.
    static QStringList valuesOf(const QJsonObject& updates, const QString& list,
                                const QString& key) {
        QStringList values;
        for (const QJsonValue& update : updates[list].toArray()) {
            values.append(update[key].toString());
        }
        return values;
    }
};

TEST_F(SandboxSkip, ASkippedFeedVersionIsNoLongerListed) {
    const CliResult result = cli({QStringLiteral("skip"), QStringLiteral("Itsycal")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Skipped Itsycal 0.15.6.1560 from Sparkle\n");
    EXPECT_TRUE(result.errors.isEmpty()) << result.errors.toStdString();
    const QJsonObject updates = pendingUpdates();
    EXPECT_FALSE(valuesOf(updates, u"sparkleUpdates"_qs, u"bundleIdentifier"_qs)
                     .contains(u"com.mowglii.ItsycalApp"_qs));
    EXPECT_EQ(valuesOf(updates, u"sparkleUpdates"_qs, u"bundleIdentifier"_qs).size(), 2);
}

TEST_F(SandboxSkip, ASkippedHomebrewVersionIsNoLongerListed) {
    const CliResult result = cli({QStringLiteral("skip"), QStringLiteral("Rectangle")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Skipped Rectangle 0.98 from Homebrew\n");
    EXPECT_EQ(valuesOf(pendingUpdates(), u"brewUpdates"_qs, u"caskName"_qs),
              QStringList{u"macdown"_qs});
}

TEST_F(SandboxSkip, AStoreUpdateCannotBeSkipped) {
    const CliResult result = cli({QStringLiteral("skip"), QStringLiteral("Hidden Bar")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_EQ(result.errors,
              "tarnel-cli skip: the pending update of Hidden Bar comes from the Mac App Store, "
              "whose updates cannot be skipped\n");
    EXPECT_EQ(valuesOf(pendingUpdates(), u"masUpdates"_qs, u"appId"_qs),
              QStringList{u"1452453066"_qs});
}

TEST_F(SandboxSkip, AnApplicationWithNothingPendingHasNothingToSkip) {
    const CliResult result = cli({QStringLiteral("skip"), QStringLiteral("Loop")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors, "tarnel-cli skip: no update is pending for Loop\n");
}

}  // namespace
