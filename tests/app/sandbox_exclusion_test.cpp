#include "sandbox_fixture.h"

#include "core/settings_store.h"

// `exclude` and `include` end to end, and how every command that takes an
// application finds the one it names.
namespace {

class SandboxExclusion : public SandboxFixture {
protected:
    QStringList storedExclusions() const {
        return tarnel::SettingsStore(inSandbox(QStringLiteral("settings.json")))
            .stringListValue(QStringLiteral("excludedApplications"))
            .value_or(QStringList());
    }
};

TEST_F(SandboxExclusion, AnExcludedApplicationIsIncludedAgain) {
    const CliResult excluded = cli({QStringLiteral("exclude"), QStringLiteral("Itsycal")});

    ASSERT_EQ(excluded.exitCode, 0) << excluded.errors.toStdString();
    EXPECT_EQ(excluded.output, "Excluded Itsycal\n");
    EXPECT_TRUE(excluded.errors.isEmpty()) << excluded.errors.toStdString();
    EXPECT_TRUE(storedExclusions().contains(u"com.mowglii.ItsycalApp"_qs));
    const QJsonObject whileExcluded = scanRecord(QStringLiteral("Itsycal"));
    EXPECT_TRUE(whileExcluded[u"excluded"_qs].toBool());
    EXPECT_TRUE(whileExcluded[u"caskOptions"_qs].toArray().isEmpty());

    const CliResult included = cli({QStringLiteral("include"), QStringLiteral("Itsycal")});

    ASSERT_EQ(included.exitCode, 0) << included.errors.toStdString();
    EXPECT_EQ(included.output, "Included Itsycal\n");
    EXPECT_EQ(storedExclusions(), QStringList{u"org.openemu.OpenEmu"_qs});
    const QJsonObject afterwards = scanRecord(QStringLiteral("Itsycal"));
    EXPECT_FALSE(afterwards[u"excluded"_qs].toBool());
    EXPECT_FALSE(afterwards[u"caskOptions"_qs].toArray().isEmpty());
}

TEST_F(SandboxExclusion, TheSandboxsOwnExclusionIsIncluded) {
    const CliResult included = cli({QStringLiteral("include"), QStringLiteral("OpenEmu")});

    ASSERT_EQ(included.exitCode, 0) << included.errors.toStdString();
    EXPECT_TRUE(storedExclusions().isEmpty());
    EXPECT_FALSE(scanRecord(QStringLiteral("OpenEmu"))[u"excluded"_qs].toBool());
}

TEST_F(SandboxExclusion, AnApplicationLeftOutAltogetherCannotBeNamed) {
    const CliResult result = cli({QStringLiteral("exclude"), QStringLiteral("Safari")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors, "tarnel-cli exclude: no application matches 'Safari'\n");
}

TEST_F(SandboxExclusion, AnApplicationIsNamedByItsDisplayNameInAnyCase) {
    const CliResult result = cli({QStringLiteral("exclude"), QStringLiteral("sEQUEL aCE")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Excluded Sequel Ace\n");
}

TEST_F(SandboxExclusion, AnApplicationIsNamedByItsFileName) {
    const CliResult result = cli({QStringLiteral("exclude"), QStringLiteral("Sequel Ace.app")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Excluded Sequel Ace\n");
}

TEST_F(SandboxExclusion, AnApplicationIsNamedByItsBundleIdentifier) {
    const CliResult result =
        cli({QStringLiteral("exclude"), QStringLiteral("com.sequel-ace.sequel-ace")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Excluded Sequel Ace\n");
}

TEST_F(SandboxExclusion, AnApplicationIsNamedByItsBundlePathEvenThroughALink) {
    for (const QString& path :
         {inSandbox(QStringLiteral("Elsewhere/Xcodes.app")), bundle(QStringLiteral("Xcodes"))}) {
        const CliResult result = cli({QStringLiteral("exclude"), path});

        ASSERT_EQ(result.exitCode, 0) << path.toStdString() << result.errors.toStdString();
        EXPECT_EQ(result.output, "Excluded Xcodes\n");
    }
}

TEST_F(SandboxExclusion, ANameThatMatchesSeveralApplicationsListsThemAndChangesNothing) {
    const QString copy = inSandbox(QStringLiteral("Applications/Utilities/Sequel Ace.app"));
    ASSERT_EQ(
        runCli(QStringLiteral("cp"),
               {QStringLiteral("-a"), bundle(QStringLiteral("Sequel Ace")), copy}, folder.path())
            .exitCode,
        0);

    const CliResult result = cli({QStringLiteral("exclude"), QStringLiteral("Sequel Ace")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(
        result.errors.startsWith("tarnel-cli exclude: 'Sequel Ace' matches 2 applications: "))
        << result.errors.toStdString();
    EXPECT_TRUE(result.errors.contains(bundle(QStringLiteral("Sequel Ace")).toUtf8() + ", ") ||
                result.errors.contains(", " + bundle(QStringLiteral("Sequel Ace")).toUtf8()))
        << result.errors.toStdString();
    EXPECT_TRUE(result.errors.contains(copy.toUtf8())) << result.errors.toStdString();
    EXPECT_EQ(storedExclusions(), QStringList{u"org.openemu.OpenEmu"_qs});
}

}  // namespace
