#include "platform/appcast/update_installer.h"
#include "core/async/cancellation_error.h"
#include "core/async/cancellation_source.h"
#include "install_workshop.h"
#include "platform/appcast/update_install_error.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

class UpdateInstallerTest : public testing::Test {
protected:
    UpdateInstallerTest() {
        QDir().mkpath(applications());
        QDir().mkpath(work());
        writeBundle(installed(), {.publicEdKey = key.publicKey()});
        installedListing = treeListing(installed());
    }

    QString applications() const { return folder.filePath(QStringLiteral("Applications")); }
    QString installed() const { return applications() + QStringLiteral("/Foo.app"); }
    QString work() const { return folder.filePath(QStringLiteral("work")); }
    QString archive() const { return work() + u'/' + archiveName; }

    // A newer bundle with the same key, as the vendor publishes it.
    BundleContents updateContents() const {
        return {.version = QStringLiteral("200"), .publicEdKey = key.publicKey()};
    }
    QString newBundle() { return newBundle(updateContents()); }
    QString newBundle(const BundleContents& contents) {
        const QString path = folder.filePath(QStringLiteral("vendor/Foo.app"));
        QDir(path).removeRecursively();
        return writeBundle(path, contents);
    }

    void publishZip(const ArchiveBuilder& builder) {
        archiveName = QStringLiteral("Foo-2.0.zip");
        builder.writeZip(archive());
    }
    void publishZip(const BundleContents& contents) {
        publishZip(ArchiveBuilder().tree(newBundle(contents), "Foo.app"));
    }
    void publishZip() { publishZip(updateContents()); }

    UpdateInstallRequest request() const {
        return UpdateInstallRequest{.archivePath = archive(),
                                    .downloadedName = archiveName,
                                    .enclosureName = archiveName,
                                    .edSignature = key.signFile(archive()),
                                    .installedPath = installed(),
                                    .bundleIdentifier = QStringLiteral("org.example.foo"),
                                    .workFolder = work()};
    }

    UpdateInstallObserver recorder() {
        return UpdateInstallObserver{
            .onExtractionStarted = [this] { events.append(QStringLiteral("extracting")); },
            .onExtractionProgress =
                [this](double fraction) {
                    if (fraction == 1.0) {
                        events.append(QStringLiteral("extracted"));
                    }
                },
            .onInstalling = [this] { events.append(QStringLiteral("installing")); },
            .onInstalled = [this] { events.append(QStringLiteral("installed")); },
        };
    }

    void installUpdate(const UpdateInstallRequest& update, const UpdateInstallObserver& observer,
                       const CancellationToken& token = {}) {
        const UpdateInstaller installer(limits);
        installer.install(installer.prepare(update, observer, token), observer, token);
    }

    // Installs, expects the refusal of `kind` with everything as it was, and
    // gives the error.
    UpdateInstallError refusal(UpdateInstallError::Kind kind) { return refusal(kind, request()); }
    UpdateInstallError refusal(UpdateInstallError::Kind kind, const UpdateInstallRequest& update) {
        try {
            installUpdate(update, recorder());
        } catch (const UpdateInstallError& error) {
            EXPECT_EQ(error.kind(), kind) << error.description().toStdString();
            expectNothingChanged();
            return error;
        }
        throw std::runtime_error("the update was installed");
    }

    // The installed bundle is as it was, and nothing of ours is left.
    void expectNothingChanged() const {
        EXPECT_EQ(treeListing(installed()), installedListing);
        EXPECT_EQ(folderEntries(applications()), QStringList{QStringLiteral("Foo.app")});
        EXPECT_EQ(folderEntries(work()), QStringList{archiveName});
    }

    QTemporaryDir folder;
    SigningKey key;
    QStringList installedListing;
    QString archiveName;
    QStringList events;
    ArchiveExtractor::Limits limits;
};

TEST_F(UpdateInstallerTest, InstallsSignedZipUpdate) {
    publishZip();
    const QStringList published = treeListing(newBundle());
    installUpdate(request(), recorder());
    EXPECT_EQ(treeListing(installed()), published);
    EXPECT_EQ(events, (QStringList{QStringLiteral("extracting"), QStringLiteral("extracted"),
                                   QStringLiteral("installing"), QStringLiteral("installed")}));
    EXPECT_EQ(folderEntries(applications()), QStringList{QStringLiteral("Foo.app")});
    EXPECT_EQ(folderEntries(work()), QStringList{archiveName});
}

TEST_F(UpdateInstallerTest, InstallsSignedTarUpdateStoredUnderAnotherName) {
    const QString vendor = newBundle();
    const QStringList published = treeListing(vendor);
    archiveName = QStringLiteral("download");
    ArchiveBuilder().tree(vendor, "Foo.app").writeTar(archive(), ArchiveBuilder::Compression::xz);
    UpdateInstallRequest update = request();
    update.enclosureName = QStringLiteral("Foo-2.0.tar.xz");
    installUpdate(update, recorder());
    EXPECT_EQ(treeListing(installed()), published);
}

TEST_F(UpdateInstallerTest, InstallsOverBundlePathWithTrailingSlash) {
    publishZip();
    const QStringList published = treeListing(newBundle());
    UpdateInstallRequest update = request();
    update.installedPath += u'/';
    installUpdate(update, {});
    EXPECT_EQ(treeListing(installed()), published);
    EXPECT_EQ(folderEntries(applications()), QStringList{QStringLiteral("Foo.app")});
}

TEST_F(UpdateInstallerTest, PreparingLeavesInstalledBundleAlone) {
    publishZip();
    const PreparedUpdate prepared = UpdateInstaller().prepare(request(), {}, {});
    EXPECT_EQ(prepared.manifest.version, QStringLiteral("200"));
    EXPECT_EQ(treeListing(installed()), installedListing);
}

TEST_F(UpdateInstallerTest, RefusesArchiveSignedByAnotherKey) {
    publishZip();
    UpdateInstallRequest update = request();
    update.edSignature = SigningKey().signFile(archive());
    refusal(UpdateInstallError::Kind::signatureMismatch, update);
    EXPECT_TRUE(events.isEmpty());
}

TEST_F(UpdateInstallerTest, RefusesToUpdateBundleWithoutEdDsaKey) {
    writeBundle(installed(), {});
    installedListing = treeListing(installed());
    publishZip();
    refusal(UpdateInstallError::Kind::noPublicKey);
}

TEST_F(UpdateInstallerTest, RefusesToUpdateBundleWithDsaKeyOnly) {
    QDir(installed()).removeRecursively();
    writeBundle(installed(), {.publicDsaKey = QStringLiteral("-----BEGIN PUBLIC KEY-----")});
    installedListing = treeListing(installed());
    publishZip();
    refusal(UpdateInstallError::Kind::dsaKeyOnly);
}

TEST_F(UpdateInstallerTest, RefusesArchiveWithoutBundle) {
    publishZip(ArchiveBuilder().file("README.txt", "nothing to install"));
    refusal(UpdateInstallError::Kind::missingUpdate);
}

TEST_F(UpdateInstallerTest, RefusesBundleWithAnotherIdentifier) {
    BundleContents impostor = updateContents();
    impostor.identifier = QStringLiteral("org.example.impostor");
    publishZip(impostor);
    refusal(UpdateInstallError::Kind::bundleIdentifierMismatch);
}

TEST_F(UpdateInstallerTest, RefusesOlderBundle) {
    BundleContents older = updateContents();
    older.version = QStringLiteral("99");
    publishZip(older);
    EXPECT_EQ(refusal(UpdateInstallError::Kind::downgrade).code(), 4006);
}

TEST_F(UpdateInstallerTest, ReinstallsSameVersion) {
    BundleContents same = updateContents();
    same.version = QStringLiteral("100.0");
    publishZip(same);
    const QStringList published = treeListing(newBundle(same));
    installUpdate(request(), {});
    EXPECT_EQ(treeListing(installed()), published);
}

TEST_F(UpdateInstallerTest, RefusesUpdateThatDropsItsKey) {
    BundleContents keyless = updateContents();
    keyless.publicEdKey.reset();
    publishZip(keyless);
    refusal(UpdateInstallError::Kind::updateRemovesKey);
}

TEST_F(UpdateInstallerTest, RefusesPackageUpdate) {
    publishZip(ArchiveBuilder().file("Foo.pkg", "xar!"));
    refusal(UpdateInstallError::Kind::packageUpdate);
}

TEST_F(UpdateInstallerTest, RefusesArchiveWithEntryOutsideItsFolder) {
    publishZip(ArchiveBuilder()
                   .tree(newBundle(), "Foo.app")
                   .link("Foo.app/Contents/Applications", "../../../../Applications"));
    refusal(UpdateInstallError::Kind::unsafeEntry);
}

TEST_F(UpdateInstallerTest, RefusesZipBomb) {
    publishZip(ArchiveBuilder().tree(newBundle(), "Foo.app").zeros("Foo.app/padding", 32 << 20));
    limits.maximumBytes = 8 << 20;
    refusal(UpdateInstallError::Kind::archiveTooLarge);
}

TEST_F(UpdateInstallerTest, RefusesWhenInstalledBundleIsAnotherApplication) {
    publishZip();
    UpdateInstallRequest update = request();
    update.bundleIdentifier = QStringLiteral("org.example.other");
    refusal(UpdateInstallError::Kind::installedBundleChanged, update);
}

TEST_F(UpdateInstallerTest, LeavesBundleIntactInReadOnlyApplicationsFolder) {
    publishZip();
    const ImmutableFolder lock(applications());
    if (!lock.isActive()) {
        GTEST_SKIP() << "this file system cannot make a folder immutable";
    }
    EXPECT_EQ(refusal(UpdateInstallError::Kind::installationFailed).code(), 4012);
}

// A cancel at each stage: the observer call named cancels the install.
class UpdateInstallerCancelTest : public UpdateInstallerTest,
                                  public testing::WithParamInterface<const char*> {};

TEST_P(UpdateInstallerCancelTest, LeavesEverythingAsItWas) {
    ArchiveBuilder builder;
    builder.tree(newBundle(), "Foo.app");
    for (int index = 0; index < 40; ++index) {
        builder.file("Foo.app/Contents/Resources/part" + QByteArray::number(index),
                     QByteArray::number(index).repeated(30000));
    }
    publishZip(builder);
    CancellationSource cancellation;
    const QString stage = QString::fromLatin1(GetParam());
    const auto cancelAt = [&](const QString& event) {
        events.append(event);
        if (event == stage) {
            cancellation.cancel();
        }
    };
    const UpdateInstallObserver observer{
        .onExtractionStarted = [&] { cancelAt(QStringLiteral("extracting")); },
        .onExtractionProgress =
            [&](double fraction) {
                cancelAt(fraction < 1.0 ? QStringLiteral("progress") : QStringLiteral("extracted"));
            },
        .onInstalling = [&] { cancelAt(QStringLiteral("installing")); },
        .onInstalled = [&] { cancelAt(QStringLiteral("installed")); },
    };
    if (stage == u"start") {
        cancellation.cancel();
    }
    EXPECT_THROW(installUpdate(request(), observer, cancellation.token()), CancellationError);
    EXPECT_FALSE(events.contains(QStringLiteral("installed")));
    expectNothingChanged();
}

INSTANTIATE_TEST_SUITE_P(EachStage, UpdateInstallerCancelTest,
                         testing::Values("start", "extracting", "progress", "extracted",
                                         "installing"),
                         [](const testing::TestParamInfo<const char*>& info) {
                             return std::string(info.param);
                         });

}  // namespace
