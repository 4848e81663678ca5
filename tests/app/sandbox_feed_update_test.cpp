#include "cli_fixture.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "served_sandbox.h"
#include "support/log_capture.h"
#include "support/test_paths.h"
#include "updates/skip_update_service.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// Feed updates end to end: the real tarnel-sandbox publishes signed feeds,
// and the real tarnel-cli checks and installs them.
namespace {

class SandboxFeedUpdate : public ::testing::Test {
protected:
    void SetUp() override {
        root = folder.filePath(QStringLiteral("mac"));
        const CliResult created = runCli(toolPath(QStringLiteral("tarnel-sandbox")),
                                         {QStringLiteral("create"), root}, folder.path());
        ASSERT_EQ(created.exitCode, 0) << created.errors.toStdString();
        served = std::make_unique<ServedSandbox>(root);
        ASSERT_TRUE(served->isServing());
    }

    CliResult cli(const QStringList& arguments) const {
        return runCli(toolPath(QStringLiteral("tarnel-cli")),
                      QStringList{QStringLiteral("--sandbox"), root} + arguments, folder.path());
    }

    QString bundle(const QString& name) const {
        return root + QStringLiteral("/Applications/") + name + QStringLiteral(".app");
    }

    // Every entry of the bundle with its kind and contents, to tell whether
    // anything changed.
    QStringList listing(const QString& path) const {
        QStringList entries;
        QDirIterator walk(path,
                          QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                          QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            const QString entry = walk.next();
            QFile file(entry);
            const QByteArray contents =
                walk.fileInfo().isFile() && file.open(QIODevice::ReadOnly) ? file.readAll() : "";
            entries << entry + u' ' + QString::number(int(walk.fileInfo().permissions())) + u' ' +
                           walk.fileInfo().symLinkTarget() + u' ' +
                           QString::fromUtf8(contents.toHex());
        }
        entries.sort();
        return entries;
    }

    QTemporaryDir folder;
    QString root;
    std::unique_ptr<ServedSandbox> served;
};

TEST_F(SandboxFeedUpdate, ACheckPrintsTheNewerReleaseAsJson) {
    const CliResult result =
        cli({QStringLiteral("sparkle-check"), QStringLiteral("Itsycal"), QStringLiteral("--json")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    const QJsonObject update = QJsonDocument::fromJson(result.output).object();
    EXPECT_EQ(update.value(QStringLiteral("currentVersion")).toString(), u"0.15.5.1551"_qs);
    EXPECT_EQ(update.value(QStringLiteral("availableVersion")).toString(), u"0.15.6.1560"_qs);
    EXPECT_TRUE(update.value(QStringLiteral("downloadURL"))
                    .toString()
                    .endsWith(QStringLiteral("/feeds/itsycal-0.15.6.zip")));
    EXPECT_TRUE(update.value(QStringLiteral("publishedDate")).toString().endsWith(u'Z'));
    EXPECT_TRUE(update.value(QStringLiteral("fileSize")).isDouble());
}

TEST_F(SandboxFeedUpdate, HammerspoonAndIceAreOfferedNewerReleasesToo) {
    QStringList offers;
    for (const QString& name : {QStringLiteral("Hammerspoon"), QStringLiteral("Ice")}) {
        const CliResult result =
            cli({QStringLiteral("sparkle-check"), name, QStringLiteral("--json")});
        ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
        const QJsonObject update = QJsonDocument::fromJson(result.output).object();
        offers << name + u' ' + update.value(QStringLiteral("currentVersion")).toString() +
                      QStringLiteral(" -> ") +
                      update.value(QStringLiteral("availableVersion")).toString();
    }
    EXPECT_EQ(offers, (QStringList{u"Hammerspoon 1.0.0.5922 -> 1.0.1.5930"_qs,
                                   u"Ice 0.11.12.1112 -> 0.11.13.1113"_qs}));
}

TEST_F(SandboxFeedUpdate, TheOneSkippedVersionIsTheReleaseHammerspoonsFeedOffers) {
    const CliResult result = cli(
        {QStringLiteral("sparkle-check"), QStringLiteral("Hammerspoon"), QStringLiteral("--json")});
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    const QJsonObject update = QJsonDocument::fromJson(result.output).object();

    // Read back through the program's own store, as a discovery reads it.
    tarnel::SettingsStore settings(root + QStringLiteral("/settings.json"));
    LogCapture capture;
    tarnel::Logger logger(capture.sink(), settings, folder.path());
    const tarnel::SkipUpdateService skipped(logger, settings);
    EXPECT_TRUE(
        skipped.isVersionSkipped(update.value(QStringLiteral("bundleIdentifier")).toString(),
                                 update.value(QStringLiteral("availableVersion")).toString()));
    const tarnel::SkipUpdateService::SkippedVersions all = skipped.getAllSkippedVersions();
    EXPECT_EQ(all, (tarnel::SkipUpdateService::SkippedVersions{
                       {u"org.hammerspoon.Hammerspoon"_qs, {u"1.0.1.5930"_qs}}}));
}

TEST_F(SandboxFeedUpdate, AFeedWhoseNewestIsOlderHasNoUpdate) {
    const CliResult result =
        cli({QStringLiteral("sparkle-check"), QStringLiteral("Loop"), QStringLiteral("--json")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output.trimmed(), "null");
}

TEST_F(SandboxFeedUpdate, AnHttpFeedIsNeverAsked) {
    const CliResult result =
        cli({QStringLiteral("sparkle-check"), QStringLiteral("IINA"), QStringLiteral("--verbose")});

    ASSERT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "IINA: no update\n");
    EXPECT_TRUE(result.errors.contains(
        "[WARNING] Skipping IINA - uses HTTP feed (not HTTPS), blocked by ATS policy"));
}

TEST_F(SandboxFeedUpdate, AnUpdateInstallsTheSignedZipAndTarReleases) {
    for (const QString& name : {QStringLiteral("Itsycal"), QStringLiteral("Hammerspoon")}) {
        const CliResult result = cli({QStringLiteral("sparkle-update"), name});
        ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
        EXPECT_EQ(result.output, "Updated " + name.toUtf8() + '\n');
    }
    QFile infoPlist(bundle(QStringLiteral("Itsycal")) + QStringLiteral("/Contents/Info.plist"));
    ASSERT_TRUE(infoPlist.open(QIODevice::ReadOnly));
    EXPECT_TRUE(infoPlist.readAll().contains("<string>1560</string>"));
    EXPECT_EQ(QFile::symLinkTarget(bundle(QStringLiteral("Hammerspoon")) +
                                   QStringLiteral("/Contents/Resources/latest-notes.txt"))
                  .section(u'/', -1),
              QStringLiteral("notes.txt"));
    const CliResult again =
        cli({QStringLiteral("sparkle-check"), QStringLiteral("Itsycal"), QStringLiteral("--json")});
    EXPECT_EQ(again.output.trimmed(), "null");
}

TEST_F(SandboxFeedUpdate, AnArchiveSignedWithAnotherKeyIsRefusedAndTheBundleKept) {
    const QStringList before = listing(bundle(QStringLiteral("Ice")));

    const CliResult result = cli({QStringLiteral("sparkle-update"), QStringLiteral("Ice")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.contains("tarnel-cli sparkle-update: "))
        << result.errors.toStdString();
    EXPECT_TRUE(result.errors.contains("signature")) << result.errors.toStdString();
    EXPECT_EQ(listing(bundle(QStringLiteral("Ice"))), before);
}

TEST_F(SandboxFeedUpdate, ANameThatMatchesSeveralApplicationsListsThem) {
    const QString copy = root + QStringLiteral("/Applications/Utilities/Itsycal Copy.app");
    ASSERT_EQ(QProcess::execute(QStringLiteral("cp"),
                                {QStringLiteral("-a"), bundle(QStringLiteral("Itsycal")), copy}),
              0);

    const CliResult result =
        cli({QStringLiteral("sparkle-check"), QStringLiteral("com.mowglii.ItsycalApp")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.contains("matches 2 applications")) << result.errors.toStdString();
    EXPECT_TRUE(result.errors.contains(copy.toUtf8())) << result.errors.toStdString();
}

TEST_F(SandboxFeedUpdate, ANameThatMatchesNothingSaysSo) {
    const CliResult result = cli({QStringLiteral("sparkle-check"), QStringLiteral("Nothing")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.contains("no application matches 'Nothing'"));
}

}  // namespace
