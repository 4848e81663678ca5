#include "cli_fixture.h"
#include "support/test_paths.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// The Homebrew and store updates a new sandbox holds, as its own `brew` and
// `mas` report and install them, and as the real tarnel-cli then reads the
// bundles.
namespace {

class SandboxPendingUpdate : public ::testing::Test {
protected:
    void SetUp() override {
        const CliResult created = runCli(toolPath(QStringLiteral("tarnel-sandbox")),
                                         {QStringLiteral("create"), root}, folder.path());
        ASSERT_EQ(created.exitCode, 0) << created.errors.toStdString();
    }

    CliResult brew(const QStringList& arguments) const {
        return runCli(root + QStringLiteral("/opt/homebrew/bin/brew"), arguments, folder.path());
    }
    CliResult mas(const QStringList& arguments) const {
        return runCli(root + QStringLiteral("/opt/homebrew/bin/mas"), arguments, folder.path());
    }

    // The short version the real reader finds in the application's bundle.
    QString shortVersionOf(const QString& displayName) const {
        const CliResult scanned = runCli(toolPath(QStringLiteral("tarnel-cli")),
                                         {QStringLiteral("--sandbox"), root,
                                          QStringLiteral("scan-bundles"), QStringLiteral("--json")},
                                         folder.path());
        EXPECT_EQ(scanned.exitCode, 0) << scanned.errors.toStdString();
        for (const QJsonValue& bundle : QJsonDocument::fromJson(scanned.output).array()) {
            if (bundle[QStringLiteral("displayName")].toString() == displayName) {
                return bundle[QStringLiteral("shortVersion")].toString();
            }
        }
        ADD_FAILURE() << "no bundle named " << displayName.toStdString();
        return {};
    }

    QTemporaryDir folder;
    QString root = folder.filePath(QStringLiteral("mac"));
};

const QStringList upgradeRectangle{QStringLiteral("upgrade"), QStringLiteral("--cask"),
                                   QStringLiteral("--force"), QStringLiteral("rectangle"),
                                   QStringLiteral("--no-quarantine")};

}  // namespace

TEST_F(SandboxPendingUpdate, HomebrewHasFourAdoptedCasksApartFromTheirCatalogueVersions) {
    const CliResult outdated = brew({QStringLiteral("outdated"), QStringLiteral("--cask"),
                                     QStringLiteral("--greedy"), QStringLiteral("--json")});

    ASSERT_TRUE(outdated.errors.isEmpty()) << outdated.errors.toStdString();
    QStringList entries;
    for (const QJsonValue& cask :
         QJsonDocument::fromJson(outdated.output)[QStringLiteral("casks")].toArray()) {
        entries << cask[QStringLiteral("name")].toString() + u' ' +
                       cask[QStringLiteral("installed_versions")][0].toString() +
                       QStringLiteral(" -> ") + cask[QStringLiteral("current_version")].toString();
    }
    // Maccy's cask is older than its bundle, so only the other three are updates.
    EXPECT_EQ(entries, (QStringList{u"maccy 2.0.0 -> 0.22.2,11"_qs, u"macdown 0.0 -> 0.7.2"_qs,
                                    u"rectangle 0.85 -> 0.98"_qs,
                                    u"sequel-ace 3.4.1,3039 -> 3.5.0,20029"_qs}));
}

TEST_F(SandboxPendingUpdate, UpgradingRectangleMovesItsBundleTo098AndOffTheOutdatedList) {
    const CliResult upgraded = brew(upgradeRectangle);
    ASSERT_EQ(upgraded.exitCode, 0) << upgraded.errors.toStdString();

    EXPECT_EQ(shortVersionOf(QStringLiteral("Rectangle")), QStringLiteral("0.98"));
    const CliResult outdated =
        brew({QStringLiteral("outdated"), QStringLiteral("--cask"), QStringLiteral("rectangle")});
    EXPECT_EQ(outdated.exitCode, 0);
    EXPECT_TRUE(outdated.output.isEmpty()) << outdated.output.toStdString();
}

TEST_F(SandboxPendingUpdate, TheStoreOffersHiddenBar19) {
    const CliResult outdated = mas({QStringLiteral("outdated")});
    EXPECT_EQ(outdated.exitCode, 0);
    EXPECT_EQ(outdated.output, "1452453066 Hidden Bar (1.0 -> 1.9)\n");
}

TEST_F(SandboxPendingUpdate, UpgradingHiddenBarThroughTheStoreMovesItsBundleTo19) {
    const CliResult upgraded = mas({QStringLiteral("upgrade"), QStringLiteral("1452453066")});
    ASSERT_EQ(upgraded.exitCode, 0) << upgraded.errors.toStdString();

    EXPECT_EQ(shortVersionOf(QStringLiteral("Hidden Bar")), QStringLiteral("1.9"));
    EXPECT_TRUE(mas({QStringLiteral("outdated")}).output.isEmpty());
}
